// `quillgate read`: one article against any service, as an application would open it. The
// host installs the Linux platform, gives the client its environment and the article, lets
// the main loop run for a while, leaves the library (exitSDK) and tells what is on screen.
#include <cmath>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "quillgate/client/QuillgateClient.h"
#include "quillgate/platform/Url.h"
#include "tools/devserver/DevServer.h"
#include "tools/quillgate/Commands.h"
#include "tools/quillgate/HostApp.h"
#include "tools/quillgate/HostWindow.h"
#include "tools/quillgate/ReaderActions.h"

namespace quillgate::host {

namespace {

// How long the host waits, after exitSDK, for the requests already under way (the EXIT event
// among them) before it leaves.
constexpr std::chrono::seconds kDrainLimit{3};
// Longest --run-for accepted: a day.
constexpr double kLongestRun = 24 * 60 * 60;
// How long each reader action waits for the library to settle once the run's time is used up.
constexpr std::chrono::seconds kActionSettleLimit{3};
// With no wall up, the run ends once nothing is in flight and nothing is due this soon (a
// wall shown after a delay of a few seconds is still to come).
constexpr auto kQuietFor = std::chrono::seconds(6);
constexpr auto kSlice = std::chrono::milliseconds(100);

struct ReadOptions {
    std::optional<std::string> clientId;
    std::optional<std::string> contentId;
    std::optional<std::string> title;
    std::optional<std::string> url;
    std::optional<std::string> contentUrl;
    std::optional<std::string> author;
    std::optional<std::vector<std::string>> categories;
    std::optional<std::vector<std::string>> sections;
    std::optional<std::vector<std::string>> tags;
    Mode mode = Mode::local;
    std::optional<std::string> apiBase;
    std::optional<std::string> webBase;
    std::optional<std::string> collectUrl;
    std::optional<std::string> fontWebBase;
    std::optional<std::string> fontRepoBase;
    std::filesystem::path stateDir;
    std::string logFile;
    std::optional<std::string> clientUserId;
    bool debug = false;
    bool subscriptions = false;
    double runFor = 5;
    std::vector<ParsedAction> actions;
    std::optional<std::filesystem::path> snapshot;
    double scale = 2;
    bool tree = false;
    bool window = false;
};

enum class Parsed { run, help, usage };

// An address the host hands to the library: absolute, over http or https, with a host.
bool isServiceAddress(const std::string& text) {
    const auto parsed = platform::url::parse(text);
    return parsed && (parsed->scheme == "http" || parsed->scheme == "https") &&
           !parsed->host.empty();
}

std::string withoutTrailingSlash(std::string text) {
    while (!text.empty() && text.back() == '/') {
        text.pop_back();
    }
    return text;
}

std::string withTrailingSlash(std::string text) {
    if (text.empty() || text.back() != '/') {
        text += '/';
    }
    return text;
}

std::optional<double> parseSeconds(const std::string& text) {
    return parseNumber(text, 0, kLongestRun);
}

Parsed parseReadArguments(const std::vector<std::string>& args, ReadOptions& options,
                          std::string& error) {
    for (std::size_t i = 0; i < args.size(); ++i) {
        std::string name = args[i];
        std::optional<std::string> inlineValue;
        if (const auto eq = name.find('='); name.rfind("--", 0) == 0 && eq != std::string::npos) {
            inlineValue = name.substr(eq + 1);
            name = name.substr(0, eq);
        }
        // Flags without a value.
        if (name == "--help" || name == "-h") {
            return Parsed::help;
        }
        if (name == "--debug" || name == "--subscriptions" || name == "--tree" ||
            name == "--window") {
            if (inlineValue) {
                error = name + " takes no value";
                return Parsed::usage;
            }
            (name == "--debug"    ? options.debug
             : name == "--tree"   ? options.tree
             : name == "--window" ? options.window
                                  : options.subscriptions) = true;
            continue;
        }
        if (name.rfind("--", 0) != 0) {
            error = "unexpected argument \"" + name + "\"";
            return Parsed::usage;
        }
        // Options with a value.
        std::string value;
        if (inlineValue) {
            value = *inlineValue;
        } else if (i + 1 < args.size()) {
            value = args[++i];
        } else {
            error = name + " needs a value";
            return Parsed::usage;
        }
        const auto address = [&](std::optional<std::string>& slot) {
            if (!isServiceAddress(value)) {
                error = name + " needs an http or https address, not \"" + value + "\"";
                return false;
            }
            slot = value;
            return true;
        };
        const auto append = [&](std::optional<std::vector<std::string>>& list) {
            if (!list) {
                list.emplace();
            }
            list->push_back(value);
        };
        if (name == "--client-id") {
            options.clientId = value;
        } else if (name == "--content-id") {
            options.contentId = value;
        } else if (name == "--title") {
            options.title = value;
        } else if (name == "--url") {
            options.url = value;
        } else if (name == "--content-url") {
            options.contentUrl = value;
        } else if (name == "--author") {
            options.author = value;
        } else if (name == "--category") {
            append(options.categories);
        } else if (name == "--section") {
            append(options.sections);
        } else if (name == "--tag") {
            append(options.tags);
        } else if (name == "--mode") {
            const auto mode = modeFromRawValue(value);
            if (!mode) {
                error = "--mode is one of stage, sandbox, production, local, not \"" + value + "\"";
                return Parsed::usage;
            }
            options.mode = *mode;
        } else if (name == "--api-base") {
            if (!address(options.apiBase)) {
                return Parsed::usage;
            }
        } else if (name == "--web-base") {
            if (!address(options.webBase)) {
                return Parsed::usage;
            }
        } else if (name == "--collect-url") {
            if (!address(options.collectUrl)) {
                return Parsed::usage;
            }
        } else if (name == "--font-web-base") {
            if (!address(options.fontWebBase)) {
                return Parsed::usage;
            }
        } else if (name == "--font-repo-base") {
            if (!address(options.fontRepoBase)) {
                return Parsed::usage;
            }
        } else if (name == "--state-dir") {
            if (value.empty()) {
                error = "--state-dir needs a directory";
                return Parsed::usage;
            }
            options.stateDir = value;
        } else if (name == "--log") {
            if (value.empty()) {
                error = "--log needs a file";
                return Parsed::usage;
            }
            options.logFile = value;
        } else if (name == "--client-user-id") {
            options.clientUserId = value;
        } else if (name == "--run-for") {
            const auto seconds = parseSeconds(value);
            if (!seconds) {
                error =
                    "--run-for needs a number of seconds from 0 to 86400, not \"" + value + "\"";
                return Parsed::usage;
            }
            options.runFor = *seconds;
        } else if (name == "--do") {
            auto action = parseReaderAction(value, error);
            if (!action) {
                error = "--do: " + error;
                return Parsed::usage;
            }
            options.actions.push_back(std::move(*action));
        } else if (name == "--snapshot") {
            if (value.empty()) {
                error = "--snapshot needs a file name";
                return Parsed::usage;
            }
            options.snapshot = value;
        } else if (name == "--scale") {
            const auto scale = parseSeconds(value);
            if (!scale || *scale < 0.5 || *scale > 4) {
                error = "--scale needs a number from 0.5 to 4, not \"" + value + "\"";
                return Parsed::usage;
            }
            options.scale = *scale;
        } else {
            error = "unknown option \"" + name + "\"";
            return Parsed::usage;
        }
    }
    if (!options.clientId) {
        error = "--client-id is required";
        return Parsed::usage;
    }
    if (!options.contentId) {
        error = "--content-id is required";
        return Parsed::usage;
    }
    return Parsed::run;
}

// The deployment table with the given entries replaced for the chosen mode; the font hosts
// are the same for every mode. In the local mode the host also points the collection address
// and both font hosts at the local access service on its usual ports (the library's own table
// sends local events to the staging collector and fonts to the public hosts): `quillgate
// serve` plus `quillgate read` then stay on this machine.
void applyAddresses(const ReadOptions& options, Deployment& deployment) {
    ServiceAddresses& addresses = deployment.addresses(options.mode);
    if (options.mode == Mode::local) {
        const devserver::DevServer::Options ports;
        const std::string host = "http://127.0.0.1:";
        addresses.collectionAddress = host + std::to_string(ports.collectPort) + "/collect/event";
        deployment.webFontHost = host + std::to_string(ports.webPort) + "/fonts/";
        deployment.sourceRepositoryHost = host + std::to_string(ports.collectPort) + "/repo/";
    }
    if (options.apiBase) {
        addresses.apiBase = withoutTrailingSlash(*options.apiBase);
    }
    if (options.webBase) {
        addresses.webBase = withTrailingSlash(*options.webBase);
    }
    if (options.collectUrl) {
        addresses.collectionAddress = *options.collectUrl;
    }
    if (options.fontWebBase) {
        deployment.webFontHost = withTrailingSlash(*options.fontWebBase);
    }
    if (options.fontRepoBase) {
        deployment.sourceRepositoryHost = withTrailingSlash(*options.fontRepoBase);
    }
}

}  // namespace

constexpr const char* kReadOptionsHelp =
    "  the article:\n"
    "    --title TEXT  --url URL  --content-url URL  --author NAME\n"
    "    --category NAME  --section NAME  --tag NAME   (each may be given again)\n"
    "  the service:\n"
    "    --mode stage|sandbox|production|local         (default local)\n"
    "    --api-base URL  --web-base URL  --collect-url URL\n"
    "    --font-web-base URL  --font-repo-base URL\n"
    "        each replaces that entry of the deployment table for the chosen mode\n"
    "  the host:\n"
    "    --state-dir DIR       user defaults and documents (default: the user's data\n"
    "                          directory, $XDG_DATA_HOME/quillgate or ~/.local/share/quillgate)\n"
    "    --log FILE            write the library's own lines to FILE, leaving standard\n"
    "                          output to the host's (host:, toast:, screen:)\n"
    "    --client-user-id ID   setClientUserId before the article\n"
    "    --debug               debugMode on (failures show a toast)\n"
    "    --subscriptions       initSubscriptions instead of showPayWall\n"
    "    --run-for SECONDS     run the main loop at most this long (default 5), then exitSDK();\n"
    "                          a run with no wall up ends once the library has settled\n"
    "  the reader (the actions run in order once the library has settled):\n"
    "    --do ACTION           may be given again; ACTION is one of\n"
    "%ACTIONS%"
    "    --snapshot FILE.png   a picture of the key window at the end, the wall still up\n"
    "    --scale N             pixels per point of the pictures (default 2)\n"
    "    --tree                print the views in parentView (\"tree: \" lines) and the\n"
    "                          client's paywall height at the end\n"
    "    --window              show the window on the desktop, with the service's pages in\n"
    "                          a real web engine (needs a display); the window stays up for\n"
    "                          --run-for, again after the reader's actions, or until closed\n";

int runRead(const std::vector<std::string>& args, std::ostream& out, std::ostream& err,
            const HostSetup& base) {
    ReadOptions options;
    std::string error;
    switch (parseReadArguments(args, options, error)) {
        case Parsed::help:
            out << "usage: quillgate read --client-id ID --content-id ID [options]\n\n"
                << "options:\n"
                << readOptionsHelp();
            return 0;
        case Parsed::usage:
            return usageError(err, "read: " + error);
        case Parsed::run:
            break;
    }

    if (options.window) {
        if (const auto reason = windowUnavailableReason()) {
            err << "quillgate read: --window: " << *reason << "\n";
            return 2;
        }
    }

    HostSetup setup = base;
    if (!options.stateDir.empty()) {
        setup.stateDirectory = options.stateDir;
    }
    if (!options.logFile.empty()) {
        setup.libraryLog = openLibraryLog(options.logFile, error);
        if (!setup.libraryLog) {
            return usageError(err, "read: " + error);
        }
    }
    HostApp app(out, std::move(setup));
    std::unique_ptr<HostWindow> window;
    if (options.window) {
        window =
            openHostWindow(app, "Quillgate: " + options.title.value_or(*options.contentId), error);
        if (!window) {
            err << "quillgate read: --window: " << error << "\n";
            return 2;
        }
    }
    QuillgateClient& client = app.client();
    applyAddresses(options, client.deployment);
    client.debugMode = options.debug;
    client.configure(options.mode, *options.clientId);
    if (options.clientUserId) {
        client.setClientUserId(*options.clientUserId);
    }

    if (options.subscriptions) {
        client.initSubscriptions(*options.contentId, options.title, options.url, app.parentView(),
                                 app.completionDelegate(), app.subscribeDelegate(),
                                 app.signInDelegate(), true, app.googleLogInDelegate());
    } else {
        client.showPayWall(*options.contentId, options.title, options.categories, options.sections,
                           options.tags, options.contentUrl, options.author, options.url,
                           app.parentView(), app.eventParamsDelegate(), app.googleLogInDelegate(),
                           app.completionDelegate(), app.subscribeDelegate(), app.signInDelegate());
    }

    const auto runTime = std::chrono::duration_cast<std::chrono::milliseconds>(
        std::chrono::duration<double>(options.runFor));
    auto deadline = std::chrono::steady_clock::now() + runTime;
    const auto timeLeft = [&] {
        return std::max(std::chrono::milliseconds(0),
                        std::chrono::duration_cast<std::chrono::milliseconds>(
                            deadline - std::chrono::steady_clock::now()));
    };
    const auto finishedEarly = [&] {
        return (base.finishedEarly && base.finishedEarly(app)) || (window && window->closed());
    };

    // The library opens the article; the reader's actions wait until it has settled.
    if (!options.actions.empty()) {
        app.runFor(timeLeft(), [&] { return finishedEarly() || app.settled(); });
    }
    bool allDone = true;
    for (const auto& action : options.actions) {
        app.waitUntilSettled(std::max(timeLeft(), std::chrono::milliseconds(kActionSettleLimit)));
        allDone = runReaderAction(app, action) == ActionOutcome::done && allDone;
    }
    if (window && !options.actions.empty()) {
        // The reader watches what the actions did for the run's time again.
        deadline = std::chrono::steady_clock::now() + runTime;
    }
    // Then the run goes on until its time is up, unless nothing covers the article and the
    // library has nothing more to do. While a wall is up or work is under way, only the loop's
    // own work (an answer, a timer) can change that, so the host sleeps until then; once all
    // is quiet it checks again after a short while and ends.
    auto quietSince = std::chrono::steady_clock::now();
    bool finished = false;
    bool waitForActivity = true;
    const auto over = [&] {
        if (finishedEarly()) {
            finished = true;
            return true;
        }
        if (window) {
            return false;  // a window stays up for the reader until its time is up
        }
        const auto now = std::chrono::steady_clock::now();
        const auto next = app.loop().nextDeadline();
        const bool quiet = app.requestsInFlight() == 0 &&
                           (!next || *next - platform::current().clock->monotonicNow() > kQuietFor);
        if (!quiet || app.wallIsUp()) {
            quietSince = now;
            // Back from a quiet spell: wait for activity again.
            const bool changed = !waitForActivity;
            waitForActivity = true;
            return changed;
        }
        if (waitForActivity) {
            waitForActivity = false;  // newly quiet: wait in short slices from now on
            return true;
        }
        finished = now - quietSince >= kSlice;
        return finished;
    };
    while (!finished && timeLeft().count() > 0) {
        app.loop().runUntil(over, waitForActivity ? timeLeft() : std::min(timeLeft(), kSlice));
    }

    if (options.snapshot) {
        const auto written = app.writeSnapshot(*options.snapshot, options.scale);
        if (written == HostApp::Snapshot::written) {
            app.say("picture: " + options.snapshot->string());
        } else {
            err << "quillgate read: cannot write the picture " << options.snapshot->string()
                << "\n";
            allDone = false;
        }
    }
    if (options.tree) {
        for (const auto& line : app.treeLines()) {
            app.say("tree: " + line);
        }
        app.say("client: paywallHeight " + describeFloat(client.paywallHeight));
    }
    client.exitSDK();
    app.drainRequests(kDrainLimit);
    app.printScreens();
    app.printPresented();
    return allDone ? 0 : 1;
}

std::string readOptionsHelp() {
    std::string text = kReadOptionsHelp;
    const std::string marker = "%ACTIONS%";
    if (const auto at = text.find(marker); at != std::string::npos) {
        text.replace(at, marker.size(), readerActionsHelp());
    }
    return text;
}

int runRead(const std::vector<std::string>& args, std::ostream& out, std::ostream& err) {
    return runRead(args, out, err, HostSetup{});
}

}  // namespace quillgate::host
