// The host's real window on the desktop backend.
#include "tools/quillgate/HostWindow.h"

#include "quillgate/platform/linux/desktop/Desktop.h"
#include "quillgate/ui/Window.h"
#include "tools/quillgate/HostApp.h"

namespace quillgate::host {

namespace {

class DesktopHostWindow final : public HostWindow {
  public:
    DesktopHostWindow(HostApp& app, std::unique_ptr<desktop::Desktop> desktop)
        : app_(app), desktop_(std::move(desktop)) {}
    ~DesktopHostWindow() override { app_.setWindowPicture({}); }

    bool closed() const override { return desktop_->closed(); }
    desktop::Desktop& desktop() { return *desktop_; }

  private:
    HostApp& app_;
    std::unique_ptr<desktop::Desktop> desktop_;
};

}  // namespace

std::optional<std::string> windowUnavailableReason() {
    return desktop::Desktop::unavailableReason();
}

std::unique_ptr<HostWindow> openHostWindow(HostApp& app, const std::string& title,
                                           std::string& error) {
    auto backend = desktop::Desktop::install(error);
    if (!backend) {
        return nullptr;
    }
    auto window = std::make_unique<DesktopHostWindow>(app, std::move(backend));
    auto* desktop = &window->desktop();
    desktop->show(app.window(), title);
    app.setWindowPicture([desktop, &app](const std::filesystem::path& file) {
        const auto picture = desktop->capture(app.window());
        return picture && picture->writePng(file);
    });
    return window;
}

}  // namespace quillgate::host
