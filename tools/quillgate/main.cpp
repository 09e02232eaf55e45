// The command-line host: the application that links the library, for serving the local
// access service and for checking configuration bodies. The commands live in Host.cpp.
#include <iostream>
#include <string>
#include <vector>

#include "tools/quillgate/Host.h"

int main(int argc, char** argv) {
    const std::vector<std::string> args(argv + 1, argv + argc);
    const int status = quillgate::host::runHost(args, std::cin, std::cout, std::cerr);
    std::cout.flush();
    return status;
}
