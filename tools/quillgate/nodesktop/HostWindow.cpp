// The host built without the desktop backend: `--window` explains why there is none.
#include "tools/quillgate/HostWindow.h"

namespace quillgate::host {

std::optional<std::string> windowUnavailableReason() {
    return "this build has no desktop backend (GTK 4 and WebKitGTK 6.0 were not found)";
}

std::unique_ptr<HostWindow> openHostWindow(HostApp&, const std::string&, std::string& error) {
    error = *windowUnavailableReason();
    return nullptr;
}

}  // namespace quillgate::host
