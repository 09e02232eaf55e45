#pragma once

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "quillgate/records/PaywallRecords.h"
#include "quillgate/service/Deployment.h"

// Makes sure the font families that a paywall configuration names are on disk in the
// documents directory and registered with the font system, before the paywall is shown.
// Files are cached for the installation, registrations last for the process.
//
// One shared instance, created on first use and kept until platform::resetProcessState.
// `provision` is called on the main thread; downloads run in parallel on the HTTP session's
// thread; the completion of `provision` runs on the main queue once every download has ended.
namespace quillgate {

class FontDownloader {
  public:
    static FontDownloader& shared();

    // The families of the configuration's text styles in declaration order, then the five
    // faces every paywall asks for. Duplicates are kept.
    static std::vector<std::string> fontFamilies(const CustomizePayWallModel& model);

    // Provisions every family of `model` from the font hosts of `deployment`; `completion`
    // runs on the main queue when every download has ended, successfully or not (at once,
    // queued, if none was started).
    void provision(const CustomizePayWallModel& model, const Deployment& deployment,
                   std::function<void()> completion);

    // Downloads one family (already normalised) into the documents directory and registers
    // it. The completion runs on the HTTP session's thread with the outcome.
    void download(const std::string& family, std::function<void(bool success)> completion);
    // Registers a local font file with the font system; every outcome is printed.
    void registerFont(const std::filesystem::path& file);
    // The download address of a family, or the empty text when the family has none.
    std::string downloadAddress(const std::string& family) const;

    // Use shared(); public only so that the process's shared-instance holder can make it.
    FontDownloader() = default;
};

}  // namespace quillgate
