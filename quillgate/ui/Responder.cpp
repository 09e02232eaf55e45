#include "quillgate/ui/Responder.h"

namespace quillgate::ui {

void Responder::touchesBegan() {
    if (auto* next = nextResponder()) {
        next->touchesBegan();
    }
}

void Responder::touchesEnded() {
    if (auto* next = nextResponder()) {
        next->touchesEnded();
    }
}

void Responder::touchesCancelled() {
    if (auto* next = nextResponder()) {
        next->touchesCancelled();
    }
}

}  // namespace quillgate::ui
