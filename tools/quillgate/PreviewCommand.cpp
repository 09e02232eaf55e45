// `quillgate preview`: a picture of the screen a configuration makes, before any reader sees
// it. The configuration is decoded as strictly as the client decodes the service's answer,
// then handed to the client's own screen builders in a host window of the asked size, with
// no access service behind it; the fonts come from the configured hosts or from disk. The
// clock stands still at one instant, so the same inputs always give the same picture.
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <optional>
#include <ostream>
#include <sstream>
#include <string>
#include <vector>

#include "quillgate/client/QuillgateClient.h"
#include "quillgate/platform/Clock.h"
#include "quillgate/platform/Text.h"
#include "quillgate/platform/Url.h"
#include "quillgate/records/RecordCoding.h"
#include "quillgate/resources/FontDownloader.h"
#include "quillgate/service/Constants.h"
#include "tools/quillgate/Commands.h"
#include "tools/quillgate/FileSession.h"
#include "tools/quillgate/HostApp.h"
#include "tools/quillgate/ReaderActions.h"

namespace quillgate::host {

namespace {

namespace fs = std::filesystem;

// How long the fonts may take to arrive from their hosts, and the screen to settle after.
constexpr std::chrono::seconds kFontLimit{60};
constexpr std::chrono::seconds kSettleLimit{10};
// The session a preview stores when it shows a signed-in reader.
constexpr const char* kPreviewSession = "preview-session";
// The paywall action the preview's journey names.
constexpr const char* kPreviewAction = "preview";

const std::vector<std::string> kDisplays = {"INARTICLE", "FULLPAGE", "POPUP"};

enum class Screen { paywall, defaultPaywall, banner, popup };

struct PreviewOptions {
    std::optional<fs::path> config;
    std::string templateName;
    std::optional<std::string> display;
    std::optional<int64_t> variant;
    bool loggedIn = false;
    std::optional<std::string> coupon;
    std::string articlesLeft = "3";
    std::optional<fs::path> content;
    double width = 390;
    double height = 844;
    double scale = 2;
    std::optional<fs::path> fonts;
    std::optional<fs::path> files;
    std::optional<std::string> fontWebBase;
    std::optional<std::string> fontRepoBase;
    std::optional<platform::TimePoint> now;
    std::optional<fs::path> out;
    std::optional<fs::path> html;
    std::optional<std::string> log;
};

// The decoded inputs, shared by every picture of one command.
struct PreviewInputs {
    Screen screen = Screen::paywall;
    std::optional<CustomizePayWallModel> paywall;
    std::optional<MeterModel> banner;
    std::optional<PopUpModel> popup;
    std::optional<ContentDetails> content;
};

Screen screenFor(const std::string& templateName) {
    const std::string name = platform::text::lowercased(templateName);
    if (name == "default") {
        return Screen::defaultPaywall;
    }
    if (name == "banner") {
        return Screen::banner;
    }
    if (name == "popup") {
        return Screen::popup;
    }
    return Screen::paywall;
}

// "2025-06-01T09:00:00Z": an instant in UTC, to the second.
std::optional<platform::TimePoint> parseInstant(const std::string& text) {
    int year = 0;
    unsigned month = 0;
    unsigned day = 0;
    int hour = 0;
    int minute = 0;
    int second = 0;
    char zone = 0;
    int used = 0;
    if (std::sscanf(text.c_str(), "%4d-%2u-%2uT%2d:%2d:%2d%c%n", &year, &month, &day, &hour,
                    &minute, &second, &zone, &used) != 7 ||
        zone != 'Z' || static_cast<std::size_t>(used) != text.size()) {
        return std::nullopt;
    }
    const std::chrono::year_month_day date{std::chrono::year{year}, std::chrono::month{month},
                                           std::chrono::day{day}};
    if (!date.ok() || hour > 23 || minute > 59 || second > 59 || hour < 0 || minute < 0 ||
        second < 0) {
        return std::nullopt;
    }
    return std::chrono::sys_days{date} + std::chrono::hours{hour} + std::chrono::minutes{minute} +
           std::chrono::seconds{second};
}

bool isServiceAddress(const std::string& text) {
    const auto parsed = platform::url::parse(text);
    return parsed && (parsed->scheme == "http" || parsed->scheme == "https") &&
           !parsed->host.empty();
}

std::string withTrailingSlash(std::string text) {
    if (text.empty() || text.back() != '/') {
        text += '/';
    }
    return text;
}

enum class Parsed { run, help, usage };

Parsed parsePreviewArguments(const std::vector<std::string>& args, PreviewOptions& options,
                             std::string& error) {
    bool haveTemplate = false;
    bool haveWidth = false;
    bool haveHeight = false;
    for (std::size_t i = 0; i < args.size(); ++i) {
        const std::string& name = args[i];
        if (name == "--help" || name == "-h") {
            return Parsed::help;
        }
        if (name == "--logged-in") {
            options.loggedIn = true;
            continue;
        }
        if (name.rfind("--", 0) != 0) {
            error = "unexpected argument \"" + name + "\"";
            return Parsed::usage;
        }
        if (i + 1 == args.size()) {
            error = name + " needs a value";
            return Parsed::usage;
        }
        const std::string& value = args[++i];
        const auto path = [&](std::optional<fs::path>& slot) {
            if (value.empty()) {
                error = name + " needs a file name";
                return false;
            }
            slot = value;
            return true;
        };
        const auto address = [&](std::optional<std::string>& slot) {
            if (!isServiceAddress(value)) {
                error = name + " needs an http or https address, not \"" + value + "\"";
                return false;
            }
            slot = withTrailingSlash(value);
            return true;
        };
        bool ok = true;
        if (name == "--config") {
            ok = path(options.config);
        } else if (name == "--template") {
            if (platform::text::isBlank(value)) {
                error = "--template needs a template name";
                return Parsed::usage;
            }
            options.templateName = value;
            haveTemplate = true;
        } else if (name == "--display") {
            const std::string display = platform::text::uppercased(value);
            if (std::find(kDisplays.begin(), kDisplays.end(), display) == kDisplays.end()) {
                error = "--display is one of INARTICLE, FULLPAGE, POPUP, not \"" + value + "\"";
                return Parsed::usage;
            }
            options.display = display;
        } else if (name == "--variant") {
            const auto number = parseNumber(value, 1, 9);
            if (!number || *number != std::floor(*number)) {
                error = "--variant needs a number of offers from 1 to 9, not \"" + value + "\"";
                return Parsed::usage;
            }
            options.variant = static_cast<int64_t>(*number);
        } else if (name == "--coupon") {
            options.coupon = value;
        } else if (name == "--articles-left") {
            const auto number = parseNumber(value, 0, 1000);
            if (!number || *number != std::floor(*number)) {
                error = "--articles-left needs a number from 0 to 1000, not \"" + value + "\"";
                return Parsed::usage;
            }
            options.articlesLeft = value;
        } else if (name == "--content") {
            ok = path(options.content);
        } else if (name == "--width" || name == "--height") {
            const auto size = parseNumber(value, 100, 4000);
            if (!size) {
                error = name + " needs a number of points from 100 to 4000, not \"" + value + "\"";
                return Parsed::usage;
            }
            (name == "--width" ? options.width : options.height) = *size;
            (name == "--width" ? haveWidth : haveHeight) = true;
        } else if (name == "--scale") {
            const auto scale = parseNumber(value, 0.5, 4);
            if (!scale) {
                error = "--scale needs a number from 0.5 to 4, not \"" + value + "\"";
                return Parsed::usage;
            }
            options.scale = *scale;
        } else if (name == "--fonts") {
            ok = path(options.fonts);
        } else if (name == "--files") {
            ok = path(options.files);
        } else if (name == "--font-web-base") {
            ok = address(options.fontWebBase);
        } else if (name == "--font-repo-base") {
            ok = address(options.fontRepoBase);
        } else if (name == "--now") {
            options.now = parseInstant(value);
            if (!options.now) {
                error = "--now needs an instant like 2025-06-01T09:00:00Z, not \"" + value + "\"";
                return Parsed::usage;
            }
        } else if (name == "--out") {
            ok = path(options.out);
        } else if (name == "--html") {
            ok = path(options.html);
        } else if (name == "--log") {
            if (value.empty()) {
                error = "--log needs a file";
                return Parsed::usage;
            }
            options.log = value;
        } else {
            error = "unknown option \"" + name + "\"";
            return Parsed::usage;
        }
        if (!ok) {
            return Parsed::usage;
        }
    }
    if (!haveTemplate) {
        error = "--template NAME is required";
        return Parsed::usage;
    }
    if (!options.config && screenFor(options.templateName) != Screen::defaultPaywall) {
        error = "--config FILE is required (only the default paywall does without)";
        return Parsed::usage;
    }
    if (haveWidth != haveHeight) {
        error = "--width and --height go together";
        return Parsed::usage;
    }
    if (!options.out && !options.html) {
        error = "--out FILE.png or --html FILE.html is required";
        return Parsed::usage;
    }
    return Parsed::run;
}

std::optional<std::string> readBody(const fs::path& file) {
    std::error_code ec;
    if (fs::is_directory(file, ec)) {
        return std::nullopt;
    }
    std::ifstream in(file, std::ios::binary);
    if (!in) {
        return std::nullopt;
    }
    std::ostringstream bytes;
    bytes << in.rdbuf();
    return std::move(bytes).str();
}

// Reads and decodes one body as T; on failure writes what went wrong and gives the status.
template <class T>
std::optional<int> decodeFile(const fs::path& file, std::optional<T>& slot, std::ostream& out,
                              std::ostream& err) {
    const auto body = readBody(file);
    if (!body) {
        err << "quillgate: preview: cannot read \"" << file.string() << "\"\n";
        return 2;
    }
    auto record = decode<T>(*body);
    if (!record) {
        // The line the client would log, as `decode` prints it.
        out << longDecodingFailureLine(record.error()) << "\n";
        return 1;
    }
    slot = std::move(*record);
    return std::nullopt;
}

// A configuration without its text styles can't dress a template: the client shows the
// default paywall instead, and so does the service's fallback message.
bool showsDefaultPaywall(const CustomizePayWallModel& model) {
    if (model.message &&
        platform::text::lowercased(*model.message) == "fallback to default paywall!") {
        return true;
    }
    const auto& mobile =
        model.data && model.data->configuration ? model.data->configuration->mobile : std::nullopt;
    return !(mobile && mobile->json && mobile->json->styleForText &&
             mobile->json->styleForText->typography);
}

// The deployment whose font hosts the preview downloads from.
Deployment previewDeployment(const PreviewOptions& options) {
    Deployment deployment = Deployment::builtIn();
    if (options.fontWebBase) {
        deployment.webFontHost = *options.fontWebBase;
    }
    if (options.fontRepoBase) {
        deployment.sourceRepositoryHost = *options.fontRepoBase;
    }
    return deployment;
}

// A directory of its own for each picture's user defaults and downloaded fonts.
fs::path freshStateDirectory() {
    static int counter = 0;
    const fs::path dir =
        fs::temp_directory_path() /
        ("quillgate-preview-" + std::to_string(::getpid()) + "-" + std::to_string(counter++));
    std::error_code ec;
    fs::remove_all(dir, ec);
    fs::create_directories(dir, ec);
    return dir;
}

struct Picture {
    std::optional<std::string> display;
    bool loggedIn = false;
    fs::path file;
};

// Builds one screen in a fresh host and writes its picture. Returns the exit status.
int render(const PreviewOptions& options, const PreviewInputs& inputs, const Picture& picture,
           std::ostream& out, std::ostream& err) {
    const fs::path state = freshStateDirectory();
    struct Cleanup {
        fs::path dir;
        ~Cleanup() {
            std::error_code ec;
            fs::remove_all(dir, ec);
        }
    } cleanup{state};

    const Deployment deployment = previewDeployment(options);
    HostSetup setup;
    setup.stateDirectory = state;
    setup.clock = std::make_shared<platform::ManualClock>(
        options.now.value_or(std::chrono::time_point_cast<platform::Duration>(
            std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now()))));
    setup.alwaysReachable = true;
    setup.screenSize = ui::Size{options.width, options.height};
    if (options.log) {
        std::string error;
        setup.libraryLog = openLibraryLog(*options.log, error);
        if (!setup.libraryLog) {
            err << "quillgate: preview: " << error << "\n";
            return 2;
        }
    } else {
        // The library's own lines are of no use here: a stream without a buffer drops them.
        setup.libraryLog = std::make_shared<std::ostream>(nullptr);
    }
    // A preview asks no service anything and reports nothing: the only addresses that reach
    // the network are the font hosts' (without --fonts); the rest fail as if offline.
    std::vector<FileSession::Mount> mounts;
    std::vector<std::string> network;
    if (options.fonts) {
        mounts.push_back({deployment.webFontHost, *options.fonts});
        mounts.push_back({deployment.sourceRepositoryHost, *options.fonts});
    } else {
        network = {deployment.webFontHost, deployment.sourceRepositoryHost};
    }
    if (options.files) {
        mounts.push_back({"", *options.files});
    }
    setup.adjust = [&mounts, &network](platform::Platform& platform) {
        platform.http = std::make_shared<FileSession>(mounts, platform.http, network);
    };

    HostApp app(out, std::move(setup));
    QuillgateClient& client = app.client();
    client.deployment = deployment;
    client.parentView = app.parentView();
    client.subscriberBtnDelegate = app.subscribeDelegate();
    client.signInBtnDelegate = app.signInDelegate();
    client.completionHandlerDelegate = app.completionDelegate();
    client.googleLogInDelegate = app.googleLogInDelegate();
    client.eventParamsDelegate = app.eventParamsDelegate();
    if (picture.loggedIn) {
        Constants::setSessionID(kPreviewSession);
    }
    client.contentDetailsModel = inputs.content;
    if (options.coupon) {
        if (!client.contentDetailsModel) {
            client.contentDetailsModel.emplace();
        }
        if (!client.contentDetailsModel->couponDetails) {
            client.contentDetailsModel->couponDetails.emplace();
        }
        client.contentDetailsModel->couponDetails->code = *options.coupon;
    }

    switch (inputs.screen) {
        case Screen::paywall: {
            auto model = *inputs.paywall;
            auto& wall = *model.data->configuration->mobile->templateId;
            wall.name = options.templateName;
            if (picture.display) {
                wall.displayType = *picture.display;
            }
            if (options.variant) {
                wall.number_of_cta = *options.variant;
            }
            if (showsDefaultPaywall(model)) {
                client.presentPreview(QuillgateClient::PreviewScreen::defaultPaywall);
                break;
            }
            UserJourneyModel journey;
            journey.actionID.emplace().data.emplace().actionID = kPreviewAction;
            client.userJourneyModel = std::move(journey);
            auto shared = std::make_shared<const CustomizePayWallModel>(std::move(model));
            bool provisioned = false;
            FontDownloader::shared().provision(*shared, client.deployment,
                                               [&provisioned] { provisioned = true; });
            app.runFor(kFontLimit, [&provisioned] { return provisioned; });
            client.customizePayWallModel = shared;
            client.presentPreview(QuillgateClient::PreviewScreen::paywall);
            break;
        }
        case Screen::defaultPaywall:
            client.presentPreview(QuillgateClient::PreviewScreen::defaultPaywall);
            break;
        case Screen::banner: {
            // The banner counts the free articles left from the journey's metering action.
            UserJourneyModel journey;
            journey.meteringAction.emplace().data.emplace().variables.emplace().stepCount =
                options.articlesLeft;
            client.userJourneyModel = std::move(journey);
            client.meterModel = inputs.banner;
            client.presentPreview(QuillgateClient::PreviewScreen::meterBanner);
            break;
        }
        case Screen::popup:
            client.popUpModel = inputs.popup;
            client.presentPreview(QuillgateClient::PreviewScreen::popUp);
            break;
    }
    app.waitUntilSettled(kSettleLimit);

    if (!app.wallIsUp()) {
        err << "quillgate: preview: the configuration puts no screen up"
            << (options.log ? "" : " (--log FILE keeps the library's lines, which say why)")
            << "\n";
        return 1;
    }
    if (app.writeSnapshot(picture.file, options.scale) != HostApp::Snapshot::written) {
        err << "quillgate: preview: cannot write the picture " << picture.file.string() << "\n";
        return 2;
    }
    app.say("picture: " + picture.file.string());
    app.printScreens();
    return 0;
}

std::string escapeHtml(const std::string& text) {
    std::string escaped;
    for (const char c : text) {
        switch (c) {
            case '&':
                escaped += "&amp;";
                break;
            case '<':
                escaped += "&lt;";
                break;
            case '>':
                escaped += "&gt;";
                break;
            case '"':
                escaped += "&quot;";
                break;
            default:
                escaped += c;
        }
    }
    return escaped;
}

// The contact sheet: the pictures side by side at their size in points. Once the page has
// loaded, the body tells how many pictures loaded and whether they stand in one row
// (data-loaded, data-one-row), for a browser that checks it.
bool writeSheet(const fs::path& file, const std::string& title,
                const std::vector<std::pair<std::string, fs::path>>& pictures, double width) {
    std::ofstream html(file, std::ios::trunc);
    html << "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
         << "<title>" << escapeHtml(title) << "</title>\n<style>\n"
         << "body { font-family: sans-serif; margin: 24px; background: #f2f2f2; }\n"
         << ".sheet { display: flex; flex-wrap: nowrap; gap: 24px; align-items: flex-start; }\n"
         << "figure { margin: 0; }\n"
         << "img { width: " << width << "px; background: #fff; border: 1px solid #ccc; }\n"
         << "figcaption { margin-top: 8px; text-align: center; }\n"
         << "</style>\n</head>\n<body>\n<h1>" << escapeHtml(title) << "</h1>\n"
         << "<div class=\"sheet\">\n";
    for (const auto& [caption, picture] : pictures) {
        html << "<figure><img src=\"" << escapeHtml(picture.filename().string()) << "\" alt=\""
             << escapeHtml(caption) << "\"><figcaption>" << escapeHtml(caption)
             << "</figcaption></figure>\n";
    }
    html << "</div>\n<script>\n"
         << "window.addEventListener('load', () => {\n"
         << "  const pictures = [...document.images];\n"
         << "  const loaded = pictures.filter(p => p.complete && p.naturalWidth > 0);\n"
         << "  const rows = new Set(pictures.map(p => p.getBoundingClientRect().top));\n"
         << "  document.body.dataset.loaded = loaded.length;\n"
         << "  document.body.dataset.oneRow = rows.size === 1;\n"
         << "});\n</script>\n</body>\n</html>\n";
    html.close();
    return static_cast<bool>(html);
}

}  // namespace

std::string previewOptionsHelp() {
    return "  what to show:\n"
           "    --config FILE         the configuration body (decoded as the client decodes it)\n"
           "    --template NAME       a template name of the routing table (3A, 4A, 5A, 7A, 8A,\n"
           "                          13A, 15A, RG4, RG5, RG6, ...; an unknown name gives the\n"
           "                          default paywall, as it would for a reader), or one of\n"
           "                          default (no --config needed), banner (--config is a\n"
           "                          MeterModel body), popup (--config is a PopUpModel body)\n"
           "    --display INARTICLE|FULLPAGE|POPUP   --variant N (number of offers)\n"
           "    --content FILE        the content details (ContentDetails) of the article\n"
           "    --coupon CODE         an offer with this coupon code\n"
           "    --logged-in           a reader who has signed in\n"
           "    --articles-left N     the free articles the banner counts (default 3)\n"
           "  the picture:\n"
           "    --width W --height H  the window in points (default 390 844)\n"
           "    --scale S             pixels per point (default 2)\n"
           "    --now TIME            the instant the clock stands at, e.g. 2025-06-01T09:00:00Z\n"
           "                          (default: now); a countdown shows the time left then\n"
           "    --out FILE.png        the picture\n"
           "    --html FILE.html      a contact sheet: the picture in every display type side\n"
           "                          by side, the pictures next to FILE.html\n"
           "  the fonts and files:\n"
           "    --fonts DIR           fonts from disk: an address on a font host is the file at\n"
           "                          the rest of the address under DIR (default: download)\n"
           "    --font-web-base URL  --font-repo-base URL   other font hosts\n"
           "    --files DIR           other files (pictures) from DIR by their address's path\n"
           "    --log FILE            the library's own lines\n";
}

int runPreview(const std::vector<std::string>& args, std::ostream& out, std::ostream& err) {
    PreviewOptions options;
    std::string error;
    switch (parsePreviewArguments(args, options, error)) {
        case Parsed::help:
            out << "usage: quillgate preview --config FILE --template NAME --out FILE.png "
                   "[options]\n\noptions:\n"
                << previewOptionsHelp();
            return 0;
        case Parsed::usage:
            return usageError(err, "preview: " + error);
        case Parsed::run:
            break;
    }

    PreviewInputs inputs;
    inputs.screen = screenFor(options.templateName);
    std::optional<int> failed;
    switch (inputs.screen) {
        case Screen::paywall:
            failed = decodeFile(*options.config, inputs.paywall, out, err);
            if (!failed && !(inputs.paywall->data && inputs.paywall->data->configuration &&
                             inputs.paywall->data->configuration->mobile &&
                             inputs.paywall->data->configuration->mobile->templateId)) {
                err << "quillgate: preview: the configuration has no "
                       "data.configuration.mobile.templateId to route\n";
                failed = 1;
            }
            break;
        case Screen::defaultPaywall:
            break;
        case Screen::banner:
            failed = decodeFile(*options.config, inputs.banner, out, err);
            break;
        case Screen::popup:
            failed = decodeFile(*options.config, inputs.popup, out, err);
            break;
    }
    if (!failed && options.content) {
        failed = decodeFile(*options.content, inputs.content, out, err);
    }
    if (failed) {
        return *failed;
    }

    if (options.out) {
        const int status =
            render(options, inputs, {options.display, options.loggedIn, *options.out}, out, err);
        if (status != 0) {
            return status;
        }
    }
    if (options.html) {
        // Every display type of a template (the one asked, alone, when --display is given);
        // the other screens have one look.
        std::vector<std::optional<std::string>> displays;
        if (inputs.screen == Screen::paywall && !options.display) {
            displays.assign(kDisplays.begin(), kDisplays.end());
        } else {
            displays.push_back(options.display);
        }
        std::vector<std::pair<std::string, fs::path>> pictures;
        const fs::path stem = options.html->parent_path() / options.html->stem();
        for (const auto& display : displays) {
            const std::string suffix =
                display ? "-" + platform::text::lowercased(*display) : std::string();
            const fs::path file = stem.string() + suffix + ".png";
            const int status = render(options, inputs, {display, options.loggedIn, file}, out, err);
            if (status != 0) {
                return status;
            }
            pictures.emplace_back(options.templateName + (display ? " " + *display : ""), file);
        }
        const std::string title =
            "Quillgate preview: " +
            (options.config ? options.config->filename().string() : options.templateName);
        if (!writeSheet(*options.html, title, pictures, options.width)) {
            err << "quillgate: preview: cannot write " << options.html->string() << "\n";
            return 2;
        }
        out << "sheet: " << options.html->string() << "\n";
    }
    return 0;
}

}  // namespace quillgate::host
