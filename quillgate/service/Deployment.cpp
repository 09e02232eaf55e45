#include "quillgate/service/Deployment.h"

#include <utility>

namespace quillgate {

namespace {
constexpr const char* kCollectPath = "/collect/event";
constexpr const char* kApiPath = "/api/v1";
}  // namespace

const ServiceAddresses& Deployment::addresses(Mode mode) const {
    switch (mode) {
        case Mode::sandbox:
            return sandbox;
        case Mode::production:
            return production;
        case Mode::local:
            return local;
        case Mode::stage:
            break;
    }
    return stage;
}

ServiceAddresses& Deployment::addresses(Mode mode) {
    return const_cast<ServiceAddresses&>(std::as_const(*this).addresses(mode));
}

Deployment Deployment::builtIn() {
    const std::string stagingCollector = "https://collect.stage.quillgate.invalid";
    const std::string productionCollector = "https://collect.quillgate.invalid";

    Deployment d;
    d.stage = {std::string("https://api.stage.quillgate.invalid") + kApiPath,
               "https://web.stage.quillgate.invalid/", stagingCollector + kCollectPath};
    d.sandbox = {std::string("https://api.sandbox.quillgate.invalid") + kApiPath,
                 "https://web.sandbox.quillgate.invalid/", productionCollector + kCollectPath};
    d.production = {std::string("https://api.quillgate.invalid") + kApiPath,
                    "https://web.quillgate.invalid/", productionCollector + kCollectPath};
    d.local = {std::string("http://127.0.0.1:3001") + kApiPath, "http://127.0.0.1:3000/",
               stagingCollector + kCollectPath};
    d.placeholderSiteAddress = "https://site.quillgate.invalid";
    d.mockSiteAddress = "https://mock.quillgate.invalid/";
    // The font hosts are public and the same for every deployment.
    d.webFontHost = "https://fonts.gstatic.com/";
    d.sourceRepositoryHost = "https://github.com/";
    return d;
}

}  // namespace quillgate
