// The command-line host: the application that links the library, for serving the local
// access service and for checking configuration bodies. The commands live in Host.cpp.
#include <iostream>
#include <string>
#include <vector>

#include "tools/quillgate/Host.h"

// In a sanitizer build, LeakSanitizer asks the program for suppressions at exit. Fontconfig
// keeps its caches until the process ends and stores pointers as offsets, which reads as
// leaks; without this a debug build's host would end with a leak report and status 1.
extern "C" const char* __lsan_default_suppressions() {
    return "leak:libfontconfig.so\n";
}

int main(int argc, char** argv) {
    const std::vector<std::string> args(argv + 1, argv + argc);
    const int status = quillgate::host::runHost(args, std::cin, std::cout, std::cerr);
    std::cout.flush();
    return status;
}
