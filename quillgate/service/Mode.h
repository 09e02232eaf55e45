#pragma once

#include <optional>
#include <string_view>

#include "quillgate/Export.h"

// The environment the library talks to. Chosen by the host through QuillgateClient::mode;
// each case selects one column of the deployment table (Deployment.h). Pure values, any
// thread.
namespace quillgate {

enum class Mode { stage, sandbox, production, local };

// The raw text of a mode: the case name ("stage", "sandbox", "production", "local").
QUILLGATE_EXPORT std::string_view rawValue(Mode mode);
// The mode whose raw text is exactly `text`; nothing for any other text.
QUILLGATE_EXPORT std::optional<Mode> modeFromRawValue(std::string_view text);

}  // namespace quillgate
