// The command-line host: the application that links the library, for the demo, for reading
// one article against any service, for serving the local access service and for checking
// configuration bodies.
#include <cstdio>
#include <string_view>

namespace {

constexpr const char* kUsage =
    "usage: quillgate <command> [options]\n"
    "\n"
    "commands:\n"
    "  demo        run the demo story against the local access service\n"
    "  --version   print the version\n"
    "  --help      print this help\n";

}  // namespace

int main(int argc, char** argv) {
    if (argc < 2) {
        std::fputs(kUsage, stderr);
        return 2;
    }
    const std::string_view command = argv[1];
    if (command == "--version") {
        std::printf("quillgate %s\n", QUILLGATE_VERSION);
        return 0;
    }
    if (command == "--help" || command == "-h") {
        std::fputs(kUsage, stdout);
        return 0;
    }
    std::fprintf(stderr, "quillgate: unknown command '%s'\n\n%s", argv[1], kUsage);
    return 2;
}
