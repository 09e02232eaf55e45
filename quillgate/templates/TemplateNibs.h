#pragma once

// Registers the nibs of the template paywalls (one per screen class, named after it) with
// the nib registry. Called once by the client when it is first made; registering again
// replaces. Main thread only.
namespace quillgate {

void registerTemplateNibs();

}  // namespace quillgate
