#include "quillgate/resources/FontDownloader.h"

#include <array>
#include <mutex>
#include <optional>
#include <system_error>
#include <utility>

#include "quillgate/platform/Log.h"
#include "quillgate/platform/Platform.h"
#include "quillgate/platform/RunLoop.h"
#include "quillgate/platform/Text.h"
#include "quillgate/platform/Url.h"
#include "quillgate/service/Description.h"
#include "quillgate/service/NetworkClient.h"

namespace quillgate {

namespace fs = std::filesystem;

namespace {

enum class FontHost { webFont, sourceRepository };

struct FontSource {
    std::string_view key;  // the lower-cased normalised family
    FontHost host;
    std::string_view path;
};

// Fourteen families from the web-font host, five single faces from the source repository.
constexpr std::array<FontSource, 19> kFontSources{{
    {"laila", FontHost::webFont, "s/laila/v13/LYjMdG_8nE8jDIRdiidIrEIu.ttf"},
    {"arima", FontHost::webFont, "s/arima/v5/neIWzCqmt4Aup_qE1nFWqxI1RZX1YTA-pQGOyYw2fw.ttf"},
    {"poppins", FontHost::webFont, "s/poppins/v20/pxiEyp8kv8JHgFVrFJDUc1NECPY.ttf"},
    {"eczar", FontHost::webFont, "s/eczar/v22/BXR2vF3Pi-DLmxcpJB-qbNTyTMDXHd6WqTIVKWJKWg.ttf"},
    {"hindsiliguri", FontHost::webFont,
     "s/hindsiliguri/v12/ijwTs5juQtsyLLR5jN4cxBEofJvQxuk0Nig.ttf"},
    {"hindmadurai", FontHost::webFont, "s/hindmadurai/v11/f0Xx0e2p98ZvDXdZQIOcpqjn8Y0DceA0OQ.ttf"},
    {"notosans", FontHost::webFont, "s/notosans/v28/o-0IIpQlx3QUlC5A4PNb4j5Ba_2c7A.ttf"},
    {"notosanstamil", FontHost::webFont,
     "s/notosanstamil/v27/"
     "ieVc2YdFI3GCY6SyQy1KfStzYKZgzN1z4LKDbeZce-0429tBManUktuex7vGo70RqKDt_EvT.ttf"},
    {"notosansmalayalam", FontHost::webFont,
     "s/notosansmalayalam/v26/"
     "sJoi3K5XjsSdcnzn071rL37lpAOsUThnDZIfPdbeSNzVakglNM-Qw8EaeB8Nss-_RuD9BFzEr6HxEA.ttf"},
    {"tirobangla", FontHost::webFont, "s/tirobangla/v6/IFSgHe1Tm95E3O8b5i2V8MG9-UPeuz4i.ttf"},
    {"tirotelugu", FontHost::webFont, "s/tirotelugu/v7/aFTQ7PxlZWk2EPiSymjXdKSNQqn0X0BO.ttf"},
    {"playfairdisplay", FontHost::webFont,
     "s/playfairdisplay/v30/nuFvD-vYSZviVYUb_rj3ij__anPXJzDwcbmjWBN2PKdFvUDQZNLo_U2r.ttf"},
    {"rozhaone", FontHost::webFont, "s/rozhaone/v13/AlZy_zVFtYP12Zncg2khdXf4XB0Tow.ttf"},
    {"roboto", FontHost::webFont, "s/roboto/v30/KFOmCnqEu92Fr1Me5WZLCzYlKw.ttf"},
    {"merriweather-regular", FontHost::sourceRepository,
     "google/fonts/raw/main/ofl/merriweather/Merriweather-Regular.ttf"},
    {"merriweather-black", FontHost::sourceRepository,
     "google/fonts/raw/main/ofl/merriweather/Merriweather-Black.ttf"},
    {"merriweather-blackitalic", FontHost::sourceRepository,
     "google/fonts/raw/main/ofl/merriweather/Merriweather-BlackItalic.ttf"},
    {"merriweather-bold", FontHost::sourceRepository,
     "google/fonts/raw/main/ofl/merriweather/Merriweather-Bold.ttf"},
    {"poppins-semibold", FontHost::sourceRepository,
     "google/fonts/raw/main/ofl/poppins/Poppins-SemiBold.ttf"},
}};

// Asked for by every paywall, after the configuration's own families.
constexpr std::array<std::string_view, 5> kFixedFaces{"Merriweather-Regular", "Merriweather-Black",
                                                      "Merriweather-BlackItalic",
                                                      "Merriweather-Bold", "Poppins-SemiBold"};

// The steps of registering a file, for the downloader and for downloads that outlive a
// reference to it. Every outcome is printed.
void registerFontFile(platform::FontSystem& fonts, const fs::path& file) {
    const std::string fileName = file.filename().string();
    const std::optional<std::string> name = fonts.postScriptName(file);
    if (!name) {
        platform::log("Error registering font: " + fileName);
        return;
    }
    if (name->empty()) {
        platform::log("Error getting font name: " + fileName);
        return;
    }
    if (fonts.isRegistered(*name)) {
        platform::log("Font already registered: " + fileName);
        return;
    }
    if (fonts.registerFontFile(file)) {
        platform::log("Font registered successfully: " + fileName);
    } else {
        platform::log("Error registering font: The font file “" + fileName +
                      "” could not be registered.");
    }
}

// Moves `from` to `to`, failing (as the platform's file manager does) when `to` exists
// already: of two downloads of one family the first keeps its file and the second reports
// the error. A hard link gives that test and the move in one step; across file systems,
// where a link can't be made, the file is copied (never over an existing one) instead. The
// source is removed afterwards; the session would remove it anyway.
std::optional<std::string> moveItem(const fs::path& from, const fs::path& to) {
    const std::string what = "“" + from.filename().string() + "” couldn’t be moved to “" +
                             to.parent_path().filename().string() + "”";
    std::error_code ec;
    fs::create_hard_link(from, to, ec);
    if (ec && ec != std::errc::file_exists) {
        ec.clear();
        // copy_options::none refuses to overwrite; a copy cut short is not left behind.
        fs::copy_file(from, to, fs::copy_options::none, ec);
        if (ec && ec != std::errc::file_exists) {
            std::error_code ignored;
            fs::remove(to, ignored);
        }
    }
    if (ec == std::errc::file_exists) {
        return what + " because an item with the same name already exists.";
    }
    if (ec) {
        return what + ". " + ec.message() + ".";
    }
    std::error_code ignored;
    fs::remove(from, ignored);
    return std::nullopt;
}

// The end of one download task, on the session's thread: read the file as a font, move it
// into the documents directory under its PostScript name, register it.
bool finishDownload(const platform::DownloadResult& result, platform::FontSystem& fonts,
                    const fs::path& documents) {
    if (!result.location) {
        const RequestError error{std::nullopt, result.error};
        platform::log("Error downloading font: " + error.description());
        return false;
    }
    const std::optional<std::string> name = fonts.postScriptName(*result.location);
    if (!name || name->empty()) {
        platform::log("Error retrieving font information.");
        return false;
    }
    const std::string fileName = *name + ".ttf";
    const fs::path destination = documents / fileName;
    std::optional<std::string> moveError;
    if (name->find('/') != std::string::npos) {
        // A name that is a path would put the file outside the documents directory.
        moveError = "“" + result.location->filename().string() + "” couldn’t be moved to “" +
                    documents.filename().string() +
                    "” because either the former doesn’t exist, or the folder containing the "
                    "latter doesn’t exist.";
    } else {
        std::error_code ec;
        fs::create_directories(documents, ec);
        moveError = moveItem(*result.location, destination);
    }
    if (moveError) {
        platform::log("Error moving font file: " + *moveError);
        // Another download of the same face may have put it there.
        registerFontFile(fonts, destination);
        return false;
    }
    platform::log(fileName + " downloaded and saved successfully: " + fileName);
    registerFontFile(fonts, destination);
    return true;
}

// The join of one provisioning run, like a dispatch group notified on the main queue: the
// run holds it while it starts downloads, each download holds it until it ends, and the last
// to leave posts the completion.
class DownloadGroup {
  public:
    DownloadGroup(std::shared_ptr<platform::RunLoop> mainQueue, std::function<void()> notify)
        : mainQueue_(std::move(mainQueue)), notify_(std::move(notify)) {}

    void enter() {
        std::lock_guard lock(mutex_);
        ++count_;
    }
    void leave() {
        std::function<void()> notify;
        {
            std::lock_guard lock(mutex_);
            if (--count_ > 0) {
                return;
            }
            notify = std::move(notify_);
        }
        mainQueue_->post([notify = std::move(notify)] {
            platform::log("All font downloads completed successfully");
            if (notify) {
                notify();
            }
        });
    }

  private:
    std::shared_ptr<platform::RunLoop> mainQueue_;
    std::mutex mutex_;
    int count_ = 1;  // the run's own hold, left once every download has started
    std::function<void()> notify_;
};

}  // namespace

FontDownloader::FontDownloader() {
    setHosts(Deployment::builtIn());
}

FontDownloader& FontDownloader::shared() {
    return platform::sharedInstance<FontDownloader>();
}

std::vector<std::string> FontDownloader::fontFamilies(const CustomizePayWallModel& model) {
    std::vector<std::string> families;
    const std::optional<typography>* styles = nullptr;
    if (model.data && model.data->configuration && model.data->configuration->mobile &&
        model.data->configuration->mobile->json &&
        model.data->configuration->mobile->json->styleForText) {
        styles = &model.data->configuration->mobile->json->styleForText->typography;
    }
    if (styles != nullptr && styles->has_value()) {
        auto collect = [&](std::string_view, const std::optional<typographyData>& style) {
            if (style && style->fontFamily) {
                families.push_back(*style->fontFamily);
            }
        };
        typography::fields(collect, **styles);
    }
    families.insert(families.end(), kFixedFaces.begin(), kFixedFaces.end());
    return families;
}

std::string FontDownloader::normalizedFamily(std::string_view family) {
    std::string out;
    std::string_view rest = family;
    while (true) {
        const auto blank = rest.find(' ');
        out += platform::text::capitalized(rest.substr(0, blank));
        if (blank == std::string_view::npos) {
            break;
        }
        rest.remove_prefix(blank + 1);
    }
    return out;
}

void FontDownloader::setHosts(const Deployment& deployment) {
    webFontHost_ = deployment.webFontHost;
    sourceRepositoryHost_ = deployment.sourceRepositoryHost;
}

void FontDownloader::provision(const CustomizePayWallModel& model, const Deployment& deployment,
                               std::function<void()> completion) {
    setHosts(deployment);
    const std::vector<std::string> families = fontFamilies(model);
    // Printed as the platform prints a list of texts: ["Roboto", "Laila"]. Each text is quoted
    // by hand rather than through JSON, which would refuse a family that isn't valid UTF-8.
    std::string list;
    for (const std::string& family : families) {
        list += (list.empty() ? "" : ", ") + description::quoted(family);
    }
    platform::log("FontFamily values: [" + list + "]");

    auto group =
        std::make_shared<DownloadGroup>(platform::current().runLoop, std::move(completion));
    const fs::path documents = platform::current().documentsDirectory;
    for (const std::string& family : families) {
        const std::string normalized = this->normalized(family);
        const std::string fileName = normalized + "-Regular.ttf";
        std::error_code ec;
        if (fs::exists(documents / fileName, ec)) {
            platform::log(fileName + " file already exists in the document directory.");
            registerFont(documents / fileName);
            continue;
        }
        group->enter();
        download(normalized, [group, family](bool success) {
            if (success) {
                platform::log(family + " downloaded and saved successfully");
            } else {
                platform::log("Error downloading or saving the " + family + " file");
            }
            group->leave();
        });
    }
    group->leave();
}

void FontDownloader::download(const std::string& family, std::function<void(bool)> completion) {
    const std::string address = downloadAddress(family);
    if (address.empty() || !platform::url::parse(address)) {
        completion(false);
        return;
    }
    platform::log("Font Download URL: " + address);

    // What the end of the task needs is taken now, on the main thread; the task holds the
    // downloader itself only weakly.
    platform::Platform& current = platform::current();
    std::shared_ptr<platform::FontSystem> fonts = current.fonts;
    platform::HttpRequest request;
    request.url = address;
    current.http->downloadTask(
        std::move(request), [alive = std::weak_ptr<const int>(lifetime_), fonts = std::move(fonts),
                             documents = current.documentsDirectory,
                             completion = std::move(completion)](platform::DownloadResult result) {
            if (!alive.lock()) {
                return;
            }
            completion(finishDownload(result, *fonts, documents));
        });
}

void FontDownloader::registerFont(const fs::path& file) {
    registerFontFile(*platform::current().fonts, file);
}

const std::string& FontDownloader::normalized(const std::string& family) const {
    if (auto it = normalized_.find(family); it != normalized_.end()) {
        return it->second;
    }
    if (normalized_.size() >= 256) {
        normalized_.clear();
    }
    return normalized_.emplace(family, normalizedFamily(family)).first->second;
}

std::string FontDownloader::downloadAddress(const std::string& family) const {
    const std::string key = platform::text::lowercased(normalized(family));
    for (const FontSource& source : kFontSources) {
        if (source.key == key) {
            const std::string& base =
                source.host == FontHost::webFont ? webFontHost_ : sourceRepositoryHost_;
            return base + std::string(source.path);
        }
    }
    return {};
}

}  // namespace quillgate
