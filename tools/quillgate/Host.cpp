#include "tools/quillgate/Host.h"

#include <ostream>

#include "tools/devserver/Foreground.h"
#include "tools/quillgate/Commands.h"

namespace quillgate::host {

namespace {

void printUsage(std::ostream& out) {
    out << "usage: quillgate <command> [options]\n"
           "\n"
           "commands:\n"
           "  demo\n"
           "      start the local access service and walk a reader through free, metered and\n"
           "      locked articles; exit 0 when the story ran as expected\n"
           "  read --client-id ID --content-id ID [options]\n"
           "      open one article against any service, as an application would, and print\n"
           "      what the library printed, the delegate calls, toasts and the screen on show\n"
           "  serve [--api-port N] [--web-port N] [--collect-port N] [--data DIR] [--quiet]\n"
           "      run the local access service in the foreground until interrupted\n"
           "  decode --as ROOT FILE\n"
           "      decode a body (FILE, or - for standard input) as one of the service's root\n"
           "      records and print it back as JSON; exit 1 with the client's decode-failure\n"
           "      line when the client could not read it\n"
           "  preview --config FILE --template NAME --out FILE.png [options]\n"
           "      a picture of the screen a configuration makes, with no service; exit 1 with\n"
           "      the client's decode-failure line when the client could not read it\n"
           "  gallery --out DIR --fonts DIR [--data DIR] [--scale S]\n"
           "      a picture of every template and screen of the local service's data, and a\n"
           "      README.md with the preview command of each\n"
           "  --version   print the version\n"
           "  --help      print this help\n"
           "\n"
           "read options:\n"
        << readOptionsHelp()
        << "\n"
           "preview options:\n"
        << previewOptionsHelp()
        << "\n"
           "serve options:\n"
        << devserver::kForegroundFlagsHelp
        << "\n"
           "decode roots:\n";
    for (const std::string& root : decodableRoots()) {
        out << "  " << root << "\n";
    }
}

}  // namespace

int usageError(std::ostream& err, const std::string& message) {
    err << "quillgate: " << message << "\n"
        << "Run 'quillgate --help' for the commands and their options.\n";
    return 2;
}

int runHost(const std::vector<std::string>& args, std::istream& in, std::ostream& out,
            std::ostream& err) {
    if (args.empty()) {
        return usageError(err, "a command is needed");
    }
    const std::string& command = args.front();
    const std::vector<std::string> rest(args.begin() + 1, args.end());
    if (command == "--version") {
        if (!rest.empty()) {
            return usageError(err, "--version takes no arguments");
        }
        out << "quillgate " << QUILLGATE_VERSION << "\n";
        return 0;
    }
    if (command == "--help" || command == "-h" || command == "help") {
        printUsage(out);
        return 0;
    }
    if (command == "read") {
        return runRead(rest, out, err);
    }
    if (command == "demo") {
        return runDemo(rest, out, err);
    }
    if (command == "decode") {
        return runDecode(rest, in, out, err);
    }
    if (command == "preview") {
        return runPreview(rest, out, err);
    }
    if (command == "gallery") {
        return runGallery(rest, out, err);
    }
    if (command == "serve") {
        return runServe(rest, out, err);
    }
    return usageError(err, "unknown command \"" + command + "\"");
}

}  // namespace quillgate::host
