#pragma once

#include <memory>
#include <optional>
#include <string>

#include "quillgate/client/ClientTypes.h"
#include "quillgate/resources/CustomButton.h"
#include "quillgate/resources/CustomUIButton.h"
#include "quillgate/templates/BaseViewController.h"
#include "quillgate/ui/Label.h"
#include "quillgate/ui/NotificationCenter.h"
#include "quillgate/ui/Outlet.h"
#include "quillgate/ui/TableViewCell.h"
#include "quillgate/ui/TextField.h"

// The registration wall: the article in exchange for the reader's identity instead of a
// payment. The client routes the templates "RG4", "RG5" and "RG6" here and makes it from the
// nib of the same name; see BaseViewController for what the client hands over.
//
// RG4 offers only the host's Google sign-in; RG5 an input and a submit button; RG6 both,
// with an "OR" between them. What the input takes is the configuration's input kind (the
// value word of the first slot): an e-mail address ("emailLogin"), an Indian mobile number
// ("mobileLogin"), either ("emailMobileLogin") or a name ("nameInput"). The submit button is
// enabled only while the text as it would be after each key press validates. A valid
// submission goes to the client's `contactLogin` as a one-member JSON text, which opens the
// web log-in with it and logs the click.
//
// While the keyboard is up an in-article or full-page card rides on top of it; a popup stays
// in the middle. Main thread only.
namespace quillgate {

// The input row: a rounded box with the text field in it.
class RGInputViewTableViewCell : public ui::TableViewCell {
  public:
    ui::Outlet<ui::View> containerView;
    ui::Outlet<ui::TextField> textField;

    std::string className() const override { return "RGInputViewTableViewCell"; }
    ui::Size sizeThatFits(ui::Size fitting) const override;
    void layoutSubviews() override;
};

// The action row: the submit button, the "OR" divider (two lines with the word between) and
// the Google sign-in button, each shown or hidden by the wall's type.
class RGFooterTableViewCell : public ui::TableViewCell {
  public:
    ui::Outlet<CustomButton> btnSubscribe;
    ui::Outlet<CustomUIButton> btnGoogle;
    ui::Outlet<ui::View> vwOR;
    ui::Outlet<ui::Label> lblLeft;
    ui::Outlet<ui::Label> orLbl;
    ui::Outlet<ui::Label> lblRight;

    static constexpr double buttonHeight = 50;

    std::string className() const override { return "RGFooterTableViewCell"; }
    ui::Size sizeThatFits(ui::Size fitting) const override;
    void layoutSubviews() override;
};

class RGViewController : public BaseViewController, public ui::TextFieldDelegate {
  public:
    explicit RGViewController(Token token) : BaseViewController(token, "RGViewController") {}
    std::string className() const override { return "RGViewController"; }

    // The wall's type, from the client's paywallName; absent for any other name.
    std::optional<RGType> type;
    // The input row and the action row, as last made.
    std::shared_ptr<RGInputViewTableViewCell> cell;
    std::shared_ptr<RGFooterTableViewCell> footerCell;
    // The pattern of the last validation; kept when the configuration names no known kind.
    std::string regex;

    void viewDidLoad() override;
    void viewWillDisappear(bool animated) override;

    int numberOfRows(ui::TableView& table, int section) override;
    std::shared_ptr<ui::TableViewCell> cellForRow(ui::TableView& table,
                                                  ui::IndexPath indexPath) override;

    // Whether `text` is a valid input of the configured kind (see `regex`).
    bool validate(const std::string& text);

    // The submit button: a valid input goes to the client's contactLogin; an invalid one
    // shows a toast (debug mode only) and nothing else.
    void btnSubmitAction() override;
    // The Google button: the host's startGoogleLogin and the click "GOOGLE".
    void btnGoogleAction();

    // The keyboard's arrival lifts the card by its height (not a popup); its leaving brings
    // the card down again over 0.2 seconds.
    void keyboardWillShow(const ui::Notification& notification);
    void keyboardWillHide(const ui::Notification& notification);

    // ---- The text field's delegate
    void textFieldDidBeginEditing(ui::TextField& field) override;
    void textFieldDidEndEditing(ui::TextField& field) override;
    bool textFieldShouldReturn(ui::TextField& field) override;
    bool shouldChangeCharacters(ui::TextField& field, ui::TextRange range,
                                const std::string& replacement) override;

    // The type of a paywall name: exactly "RG4", "RG5" or "RG6".
    static std::optional<RGType> typeFor(const std::string& paywallName);

    // Registers the nibs of the two cells.
    static void registerNibs();

  private:
    // The configured input kind, if any.
    std::optional<std::string> inputKind() const;
    // Shows the submit button enabled or not, restyled.
    void setSubmitEnabled(bool enabled);
    void styleSubmit();
};

}  // namespace quillgate
