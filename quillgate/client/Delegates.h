#pragma once

#include <optional>
#include <string>

#include "quillgate/Export.h"

// The protocols through which the library answers the host. The host owns the objects that
// implement them and hands them over as std::shared_ptr; the client keeps them only weakly,
// so a delegate that the host has let go of is the same as one never set. Every call comes
// on the main thread. Names and spellings (`succes`, `Quillgatelogout`) are what hosts build
// against and stay as they are. Some operations are declared for hosts and never called by
// the library (all of QuillgateUserDetailDelegate, subscribeBtnTap, the event-params
// failure, the logout operations).
namespace quillgate {

class QUILLGATE_EXPORT QuillgateCompletionHandlerDelegate {
  public:
    virtual ~QuillgateCompletionHandlerDelegate() = default;
    // The one answer that every processed journey gets.
    virtual void purchasedOrNot(bool accessTime) = 0;
    virtual void onPaywallVisible(const std::string& paywallType,
                                  const std::string& paywallDisplayType, double paywallHeight,
                                  const std::string& paywallId) = 0;
    virtual void onMeterBannerVisible(const std::string& paywallType,
                                      const std::string& meterBannerId, double paywallHeight) = 0;
    virtual void onCustomLinkSlot(const std::optional<std::string>& link,
                                  const std::string& contentId) = 0;
};

class QUILLGATE_EXPORT QuillgateSubscribeBtnTapDelegate {
  public:
    virtual ~QuillgateSubscribeBtnTapDelegate() = default;
    virtual void subscribeBtnTap() = 0;
};

class QUILLGATE_EXPORT QuillgateSignBtnTapDelegate {
  public:
    virtual ~QuillgateSignBtnTapDelegate() = default;
    virtual void signInTap() = 0;
};

class QUILLGATE_EXPORT QuillgateUserDetailDelegate {
  public:
    virtual ~QuillgateUserDetailDelegate() = default;
    virtual void success(const std::string& successData) = 0;
    virtual void failure(const std::string& error) = 0;
};

class QUILLGATE_EXPORT QuillgateUserDetailsDelegate {
  public:
    virtual ~QuillgateUserDetailsDelegate() = default;
    // The user route's answer, as the JSON text the service sent.
    virtual void success(const std::string& userDetails) = 0;
    virtual void failure(const std::string& error) = 0;
};

class QUILLGATE_EXPORT QuillgateEventParamsDelegate {
  public:
    virtual ~QuillgateEventParamsDelegate() = default;
    virtual void success(const std::string& paywallId, const std::string& contentId,
                         const std::string& paywallType, const std::string& clientId,
                         const std::string& anonId) = 0;
    virtual void failure(const std::string& error) = 0;
};

class QUILLGATE_EXPORT Quillgatelogout {
  public:
    virtual ~Quillgatelogout() = default;
    virtual void succes(const std::string& successData) = 0;
    virtual void fail(const std::string& error) = 0;
};

class QUILLGATE_EXPORT QuillgateAutoLogInDelegate {
  public:
    virtual ~QuillgateAutoLogInDelegate() = default;
    virtual void autoLogInsuccess() = 0;
    virtual void autoLogInfailure() = 0;
};

class QUILLGATE_EXPORT QuillgateGoogleLogInDelegate {
  public:
    virtual ~QuillgateGoogleLogInDelegate() = default;
    virtual void startGoogleLogin() = 0;
};

}  // namespace quillgate
