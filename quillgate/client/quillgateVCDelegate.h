#pragma once

#include <string>

#include "quillgate/Export.h"
#include "quillgate/client/ClientTypes.h"

// What a screen may ask of the client. Screens keep it as their `delegate` (weakly: it is
// always the client, which outlives them); only QuillgateClient implements it. Main thread
// only.
namespace quillgate {

class QUILLGATE_EXPORT quillgateVCDelegate {
  public:
    virtual ~quillgateVCDelegate() = default;

    // Takes the wall on show out of the host's view.
    virtual void closeScreens() = 0;
    // Registers a new login challenge and opens the web page of `contentType`. `text` is the
    // tier for subPass and the subscription address for subscribeNow; otherwise ignored.
    virtual void startWebFlow(const std::string& contentID, ContentType contentType,
                              const std::string& text) = 0;
    // Behind every subscribe button; logs the click when `logEvent` is true.
    virtual void subscribeTap(bool logEvent) = 0;
    // The registration wall's sign-in with an e-mail address or phone number.
    virtual void contactLogin(const std::string& contact) = 0;
    // Read now (or log in only, with `isLogin`); logs the click when `event` is true.
    virtual void payBtnTap(bool event, bool isLogin) = 0;
    // The flow-ending deep link: runs the access flow again half a second later.
    virtual void handleRelaunchApp(const std::string& url) = 0;
    // Shows the web flow screen on `address`.
    virtual void openWebFlow(const std::string& address, bool isAutoLogin) = 0;
};

}  // namespace quillgate
