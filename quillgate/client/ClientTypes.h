#pragma once

#include <optional>
#include <string_view>

#include "quillgate/Export.h"

// The small enumerations of the client's public interface and of the screens it chooses.
// Pure values, any thread.
namespace quillgate {

// Which public entry began the article: showPayWall or initSubscriptions.
enum class ScreenType { paywallScreen, subPassScreen };

// What a web flow is for; chooses the web address.
enum class ContentType { onlyLogin, readNow, buyPass, subscribeNow, subPass };

// How a template paywall is placed. The raw texts are the case names.
enum class PAYWALLTYPE { INARTICLE, FULLPAGE, POPUP };

QUILLGATE_EXPORT std::string_view rawValue(PAYWALLTYPE type);
QUILLGATE_EXPORT std::optional<PAYWALLTYPE> paywallTypeFromRawValue(std::string_view text);

// The variants of the template families.
enum class CTA3Type { CTA3A1, CTA3A2, CTA3A3 };
enum class CTA5Type { CTA5A1, CTA5A2, CTA5A3 };
enum class CTA8Type { CTA8A1, CTA8A2 };
enum class RGType { RG4, RG5, RG6 };

}  // namespace quillgate
