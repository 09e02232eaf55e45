// `quillgate gallery`: a picture of every paywall, banner and popup of the local service's
// data, and of the default paywall, each made by `quillgate preview` from the body the
// service would answer. The bodies are written next to the pictures, the font files laid
// out on disk as the font hosts serve them, and the clock fixed, so that the README's
// commands make the same pictures again, byte for byte on one machine.
#include <chrono>
#include <filesystem>
#include <fstream>
#include <ostream>
#include <sstream>
#include <string>
#include <vector>

#include "tools/devserver/AccessService.h"
#include "tools/devserver/DevServer.h"
#include "tools/devserver/Scenario.h"
#include "tools/quillgate/Commands.h"

namespace quillgate::host {

namespace {

namespace fs = std::filesystem;

// The instant every picture is made at; the countdowns end a fixed time after it.
constexpr const char* kGalleryNow = "2025-06-01T09:00:00Z";
constexpr std::chrono::sys_seconds kGalleryInstant{
    std::chrono::sys_days{std::chrono::year{2025} / std::chrono::June / 1}.time_since_epoch() +
    std::chrono::hours{9}};
// Where the bodies' addresses point: the local mode's web base.
constexpr const char* kWebBase = "http://127.0.0.1:3000/";
constexpr const char* kApiBase = "http://127.0.0.1:3001/api/v1";
// The width the README shows each picture at, in pixels of the page.
constexpr int kShownWidth = 260;

struct GalleryOptions {
    fs::path out;
    fs::path fonts;
    fs::path data = devserver::DevServer::defaultDataDir();
    std::string scale = "1";
};

struct Entry {
    std::string title;
    std::string name;  // the picture's file stem
    std::vector<std::string> args;
};

std::string readAll(const fs::path& file) {
    std::ifstream in(file, std::ios::binary);
    std::ostringstream bytes;
    bytes << in.rdbuf();
    return std::move(bytes).str();
}

bool writeText(const fs::path& file, const std::string& text) {
    std::ofstream stream(file, std::ios::binary | std::ios::trunc);
    stream << text;
    stream.close();
    return static_cast<bool>(stream);
}

// Lays the scenario's font files out under `dir` as the font hosts serve them, one link per
// address, so that `preview --fonts DIR` finds each one.
bool layOutFonts(const devserver::Scenario& scenario, const fs::path& dir, std::string& error) {
    for (const auto& font : scenario.fonts) {
        if (!font.file) {
            continue;
        }
        const fs::path link = dir / font.path;
        std::error_code ec;
        fs::create_directories(link.parent_path(), ec);
        fs::remove(link, ec);
        fs::create_symlink(fs::absolute(*font.file), link, ec);
        if (ec) {
            error = "cannot lay out the font " + link.string() + ": " + ec.message();
            return false;
        }
    }
    return true;
}

// A shell word: as it is when it needs no quotes.
std::string shellWord(const std::string& word) {
    if (!word.empty() &&
        word.find_first_not_of("abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ"
                               "0123456789-_./:=") == std::string::npos) {
        return word;
    }
    std::string quoted = "'";
    for (const char c : word) {
        quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
    }
    return quoted + "'";
}

}  // namespace

int runGallery(const std::vector<std::string>& args, std::ostream& out, std::ostream& err) {
    GalleryOptions options;
    for (std::size_t i = 0; i < args.size(); ++i) {
        const std::string& name = args[i];
        if (i + 1 == args.size()) {
            return usageError(err, "gallery: " + name + " needs a value");
        }
        const std::string& value = args[++i];
        if (name == "--out") {
            options.out = value;
        } else if (name == "--fonts") {
            options.fonts = value;
        } else if (name == "--data") {
            options.data = value;
        } else if (name == "--scale") {
            options.scale = value;
        } else {
            return usageError(err, "gallery: unknown option \"" + name + "\"");
        }
    }
    if (options.out.empty() || options.fonts.empty()) {
        return usageError(err, "gallery: --out DIR and --fonts DIR are required");
    }

    auto load = devserver::loadScenario(options.data);
    if (!load.scenario) {
        err << "quillgate: gallery: " << load.error << "\n";
        return 2;
    }
    const devserver::Scenario& scenario = *load.scenario;
    std::string error;
    if (!layOutFonts(scenario, options.fonts, error)) {
        err << "quillgate: gallery: " << error << "\n";
        return 2;
    }
    devserver::AccessService service(scenario, [] { return kGalleryInstant; });
    service.setBases({kApiBase, kWebBase});

    const fs::path configs = options.out / "configs";
    std::error_code ec;
    fs::create_directories(configs, ec);
    const auto save = [&](const std::string& name, const devserver::Reply& reply) {
        const fs::path file = configs / (name + ".json");
        if (reply.status != 200 || !writeText(file, reply.body + "\n")) {
            err << "quillgate: gallery: no body for " << name << "\n";
            return std::string();
        }
        return file.string();
    };
    const auto common = [&](const std::string& name) {
        return std::vector<std::string>{"--fonts", options.fonts.string(),
                                        "--files", options.data.string(),
                                        "--now",   kGalleryNow,
                                        "--scale", options.scale,
                                        "--out",   (options.out / (name + ".png")).string()};
    };

    // The offer of the first locked article: the default paywall's, and what the templates
    // read of the article (its coupon).
    std::string content;
    const std::string clientId =
        scenario.publishers.empty() ? std::string() : scenario.publishers.front().clientId;
    for (const auto& article : scenario.articles) {
        if (article.clientId == clientId && article.kind == devserver::ArticleKind::premium) {
            content =
                save("content", service.content({{"clientId", clientId},
                                                 {"clientContentId", article.clientContentId}}));
            break;
        }
    }

    // The default paywall first: the bodies the routing table sends there point at it.
    std::vector<Entry> entries;
    if (!content.empty()) {
        entries.push_back({"default: the default paywall",
                           "default",
                           {"--template", "default", "--content", content}});
    }
    for (const auto& [id, paywall] : scenario.paywalls) {
        const auto& templateId = paywall.config.data && paywall.config.data->configuration &&
                                         paywall.config.data->configuration->mobile
                                     ? paywall.config.data->configuration->mobile->templateId
                                     : std::nullopt;
        if (!templateId || !templateId->name) {
            continue;
        }
        const std::string config = save(id, service.paywallConfig(clientId, {{"paywallId", id}}));
        if (config.empty()) {
            return 2;
        }
        Entry entry{
            id + ": " + paywall.config.data->name.value_or(id) + " (" + *templateId->name + ")",
            id,
            {"--config", config, "--template", *templateId->name}};
        if (!content.empty()) {
            entry.args.insert(entry.args.end(), {"--content", content});
        }
        entries.push_back(std::move(entry));
    }
    for (const auto& [id, banner] : scenario.banners) {
        const std::string config = save(id, service.meteringBanner(id));
        if (config.empty()) {
            return 2;
        }
        entries.push_back(
            {id + ": the metering banner", id, {"--config", config, "--template", "banner"}});
    }
    for (const auto& [id, popup] : scenario.popups) {
        const std::string config = save(id, service.popup(id));
        if (config.empty()) {
            return 2;
        }
        entries.push_back({id + ": the popup", id, {"--config", config, "--template", "popup"}});
    }

    std::ostringstream readme;
    readme << "# Gallery\n\n"
           << "Every paywall, banner and popup of the local access service's data "
              "(`tools/devserver/data`), and the default paywall, as `quillgate preview` draws "
              "them from the body the service would answer (kept in `configs/`), in a phone's "
              "window of 390 x 844 points. `make gallery` makes them all again, the same bytes "
              "on the same machine: the fonts are the local service's files, laid out on disk "
              "under `build/gallery/fonts`, and the clock stands at one instant, so the "
              "countdowns always show the same time. Under each picture is the command that "
              "made it, to run from the repository's root once `make gallery` has laid the "
              "fonts out.\n";
    int status = 0;
    // A picture the same as one made before (every body the routing table sends to the
    // default paywall) is shown once; the later entries point at it.
    std::vector<std::pair<std::string, std::string>> made;  // bytes, file name
    for (auto& entry : entries) {
        const auto more = common(entry.name);
        entry.args.insert(entry.args.end(), more.begin(), more.end());
        std::ostringstream lines;
        std::ostringstream problems;
        const int result = runPreview(entry.args, lines, problems);
        if (result != 0) {
            err << "quillgate: gallery: " << entry.name << ": " << problems.str();
            status = 1;
            continue;
        }
        const fs::path picture = options.out / (entry.name + ".png");
        const std::string bytes = readAll(picture);
        std::string shown = picture.filename().string();
        for (const auto& [earlier, name] : made) {
            if (earlier == bytes) {
                shown = name;
                fs::remove(picture, ec);
                break;
            }
        }
        if (shown == picture.filename().string()) {
            made.emplace_back(bytes, shown);
        }
        out << "gallery: " << entry.name << ": " << shown << "\n";
        std::string command = "quillgate preview";
        for (const auto& arg : entry.args) {
            command += " " + shellWord(arg);
        }
        readme << "\n## " << entry.title << "\n\n";
        if (shown == picture.filename().string()) {
            readme << "<img src=\"" << shown << "\" width=\"" << kShownWidth << "\" alt=\""
                   << entry.title << "\">\n";
        } else {
            readme << "The same picture as [" << shown << "](" << shown << ").\n";
        }
        readme << "\n```sh\n" << command << "\n```\n";
    }
    if (!writeText(options.out / "README.md", readme.str())) {
        err << "quillgate: gallery: cannot write " << (options.out / "README.md").string() << "\n";
        return 2;
    }
    return status;
}

}  // namespace quillgate::host
