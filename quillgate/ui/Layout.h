#pragma once

#include <memory>

#include "quillgate/ui/Geometry.h"

// How views get their frames: measure down, size up, then place.
//
// Constraints are recorded, never solved (LayoutConstraint): the scenes are ours, so every
// scene lays itself out in code, with one protocol everywhere.
//
//   1. Measure. A parent asks each child for its size at a width it chooses:
//      `child->sizeThatFits({width, 0})` (or `fittingSize(*child, width)`, which gives a
//      hidden child no room). Labels, buttons, fields, image views, stack views and plain
//      containers answer from their content; text is measured by the platform's text layout
//      service (Pango on Linux, a fixed-advance layout in unit tests).
//   2. Size up. A view's own `sizeThatFits` answers from its children's answers (the same
//      arithmetic its layoutSubviews uses), so a card's height is the sum of its rows.
//   3. Place. In `layoutSubviews`, a view sets its direct subviews' frames from its own
//      bounds, the sizes measured in 1, and the constraint outlets the screens change (a
//      height constant, which of two alternative constraints is active):
//
//        void CardView::layoutSubviews() {
//            const double width = bounds().width();
//            double y = topConstraint->constant();
//            const double h = fittingSize(*title, width - 32).height;
//            title->setFrame(Rect(16, y, width - 32, h));
//            y += h + (subtitleGap->isActive() ? subtitleGap->constant() : 0);
//            ...
//        }
//
//      A view places its own subviews only: no view computes a sibling's or a grandchild's
//      frame. A child whose size changes lays its own subviews out in turn.
//
// When it runs. `setNeedsLayout()` marks a view; a change of a view's frame size marks it; a
// constraint's `constant` or `active` change, and a change of what a view shows that alters
// its fitting size (a label's text or font), mark the view that keeps it and every ancestor up
// to the window (sizes flow up). After each task of the main queue, and at the end of each
// turn of it, the windows that hold marked views are laid out: `layoutIfNeeded` runs
// `layoutSubviews` of each marked view, parents before children (and a root view's
// controller hears viewWillLayoutSubviews / viewDidLayoutSubviews around it). A view joining a
// window is laid out at once, so give it its frame before adding it. `layoutIfNeeded()` lays
// a subtree out now.
//
// Tables measure rows of automatic height at their own width when they reload, and again when
// their width changes; their "contentSize" (observable) follows. Main thread only.
namespace quillgate::ui {

class View;
class Window;

// `view`'s size at most `width` wide (0: no limit); a hidden view takes no room.
Size fittingSize(const View& view, double width);

// Lays out now every window that holds views marked as needing layout (what happens after
// each main-queue task).
void layoutMarkedWindows();

namespace detail {
// Called by a view in `window` when it is marked.
void windowNeedsLayout(const std::shared_ptr<Window>& window);
}  // namespace detail

}  // namespace quillgate::ui
