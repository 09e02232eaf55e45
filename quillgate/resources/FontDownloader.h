#pragma once

#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "quillgate/records/PaywallRecords.h"
#include "quillgate/service/Deployment.h"

// Makes sure the font families that a paywall configuration names are on disk in the
// documents directory and registered with the font system, before the paywall is shown.
// Files are cached for the installation, registrations last for the process. No failure
// stops a paywall: a family that can't be had is left to the styling engine's fallback.
//
// A family is looked for as its normalised name + "-Regular.ttf" but saved under the
// downloaded font's PostScript name + ".ttf". Where the two differ (every one of the five
// fixed faces, for one) the file is never found and is fetched again for each paywall; that
// is how the service's fonts have always been cached, and it is kept.
//
// One shared instance, created on first use and kept until platform::resetProcessState. It
// holds only the two font hosts, set by `provision` (or `setHosts`) on the main thread.
// `provision`, `download` and `downloadAddress` are called on the main thread; downloads run
// in parallel on the HTTP session's thread, where each one reads, moves and registers its
// file; `registerFont` may be called from either. A download that ends after its downloader
// is gone does nothing at all.
namespace quillgate {

class FontDownloader {
  public:
    static FontDownloader& shared();

    // The families of the configuration's text styles in declaration order, then the five
    // faces every paywall asks for. Duplicates are kept.
    static std::vector<std::string> fontFamilies(const CustomizePayWallModel& model);

    // The family split at each blank, each part capitalised word by word, joined with no
    // separator: "noto sans tamil" gives "NotoSansTamil", "Merriweather-Regular" stays.
    static std::string normalizedFamily(std::string_view family);

    // Provisions every family of `model` from the font hosts of `deployment`; `completion`
    // runs on the main queue when every download has ended, successfully or not (at once,
    // queued, if none was started).
    void provision(const CustomizePayWallModel& model, const Deployment& deployment,
                   std::function<void()> completion);

    // The hosts that downloads are fetched from (a deployment's webFontHost and
    // sourceRepositoryHost). Until set, those of the built-in deployment.
    void setHosts(const Deployment& deployment);

    // Downloads one family (already normalised) into the documents directory and registers
    // it. The completion runs with the outcome on the HTTP session's thread, or at once on
    // the calling thread when the family has no download address.
    void download(const std::string& family, std::function<void(bool success)> completion);
    // Registers a local font file with the font system; every outcome is printed.
    void registerFont(const std::filesystem::path& file);
    // The download address of a family (normalised here, compared in lower case), or the
    // empty text when the family has none.
    std::string downloadAddress(const std::string& family) const;

    // Use shared(); public only so that the process's shared-instance holder can make it.
    FontDownloader();
    FontDownloader(const FontDownloader&) = delete;
    FontDownloader& operator=(const FontDownloader&) = delete;

  private:
    // normalizedFamily, remembered: every paywall asks for the same few families. Main
    // thread; at most 256 are kept.
    const std::string& normalized(const std::string& family) const;

    mutable std::map<std::string, std::string> normalized_;
    std::string webFontHost_;
    std::string sourceRepositoryHost_;
    // Downloads in flight hold this weakly: once the downloader is gone their ends are
    // dropped.
    std::shared_ptr<const int> lifetime_ = std::make_shared<const int>(0);
};

}  // namespace quillgate
