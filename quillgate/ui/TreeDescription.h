#pragma once

#include <memory>
#include <string>

#include "quillgate/ui/Geometry.h"

// A text rendering of a view tree, for tools, tests and test failure messages: one line per
// view, indented two spaces per level, with the class name, tag, identifier, frame, hidden
// state, alpha, background, the layer's look where it has one (corner radius, masked corners,
// border, shadow, clipping), the view's key texts (label text, button title, field text and
// placeholder, image) and the font and colour its text is shown in. For example:
//
//   View tag=9988 frame=(0 0; 390 844) radius=12 controller=QuillgateStatusVC
//     Label frame=(16 20; 358 24) text="Pay 10.0 to read now" font="Roboto-Bold 15"
//       color=#000000                                       (one line)
//     Button frame=(16 60; 358 44) hidden border=1 #CCCCCC title="Buy a pass"
//       font=".SFUI-Regular 15" color=#007AFF               (one line)
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
// A font as its face name and size, quoted ("\"Roboto-Bold 15\"").
struct Font;
std::string describeFont(const Font& font);

}  // namespace quillgate::ui
