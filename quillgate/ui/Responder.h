#pragma once

#include <string>

#include "quillgate/Export.h"

// The chain along which touches travel: a view passes to its controller (when it is one's
// root view) or else to its superview; a controller passes to its view's superview, its
// parent or its presenting controller. Main thread only.
namespace quillgate::ui {

class QUILLGATE_EXPORT Responder {
  public:
    virtual ~Responder() = default;

    // The class name shown in tree texts and used as reuse identifier and nib name of cells.
    virtual std::string className() const = 0;
    // The next responder, valid for the duration of the call.
    virtual Responder* nextResponder() const = 0;

    // A touch began / ended / was taken over by a gesture recogniser. The defaults pass the
    // touch on to the next responder, so a view that ignores touches lets its parent have them.
    virtual void touchesBegan();
    virtual void touchesEnded();
    virtual void touchesCancelled();
};

}  // namespace quillgate::ui
