#pragma once

#include <memory>
#include <optional>
#include <string>

// The host's real window (`read --window`, `demo --window`): the desktop backend installed
// over the HostApp's platform, its key window shown in a toolkit window and the service's
// pages in the real web engine. The build picks the implementation: with the desktop backend,
// or one that explains why there is none. Main thread only; destroy it before the HostApp.
namespace quillgate::host {

class HostApp;

class HostWindow {
  public:
    virtual ~HostWindow() = default;
    // Whether the reader closed the window.
    virtual bool closed() const = 0;
};

// Why no window can be had here (no display, a build without the desktop backend), or
// nothing.
std::optional<std::string> windowUnavailableReason();

// Installs the desktop backend and shows the key window of `app`, titled `title`; its
// pictures (writeSnapshot) become the toolkit window's. Null, with `error` set, when no
// window can be had.
std::unique_ptr<HostWindow> openHostWindow(HostApp& app, const std::string& title,
                                           std::string& error);

}  // namespace quillgate::host
