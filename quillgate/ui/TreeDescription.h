#pragma once

#include <memory>
#include <string>

#include "quillgate/ui/Geometry.h"

// A text rendering of a view tree, for tools and test failure messages: one line per view,
// indented two spaces per level, with the class name, tag, frame, hidden state, alpha,
// background, identifier and the view's key texts (label text, button title, field text).
// For example:
//
//   Window frame=(0 0; 390 844)
//     View tag=9988 frame=(0 0; 390 844) controller=QuillgateStatusVC
//       Label frame=(16 20; 358 24) text="Pay 10.0 to read now"
//       Button frame=(16 60; 358 44) hidden title="Buy a pass"
//
// Pure; main thread only (it reads the tree).
namespace quillgate::ui {

class View;

std::string describeTree(const View& root);
std::string describeTree(const std::shared_ptr<View>& root);

// The pieces, shared by the views' own texts: a number without needless decimals ("390",
// "0.5"), a size ("390 844") and a frame ("(0 0; 390 844)").
std::string describeNumber(double value);
std::string describeSize(Size size);
std::string describeRect(const Rect& rect);

}  // namespace quillgate::ui
