#include "quillgate/resources/TouchForwarding.h"

#include "quillgate/resources/CustomButton.h"
#include "quillgate/resources/CustomTableView.h"
#include "quillgate/ui/ViewController.h"

namespace quillgate {

void forwardTouchToViewController(const ui::Responder& from) {
    for (ui::Responder* next = from.nextResponder(); next; next = next->nextResponder()) {
        if (auto* controller = dynamic_cast<ui::ViewController*>(next)) {
            controller->touchesBegan();
            return;
        }
    }
}

void CustomButton::touchesBegan() {
    Button::touchesBegan();
    forwardTouchToViewController(*this);
}

void CustomTableView::touchesBegan() {
    TableView::touchesBegan();
    forwardTouchToViewController(*this);
}

}  // namespace quillgate
