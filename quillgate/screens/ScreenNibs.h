#pragma once

// Registers the standard screens' nibs and the scenes of "QuillgateStoryboard" with the nib
// registry. Called once by the client when it is first made; registering again replaces.
namespace quillgate {

void registerScreenNibs();

}  // namespace quillgate
