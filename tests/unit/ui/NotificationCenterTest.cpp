// The notification centre: delivery order, removal by owner and by token, changes during a
// post, and the application's own notifications.

#include "tests/unit/ui/UiTestSupport.h"

namespace quillgate::ui {
namespace {

class NotificationCenterTest : public UiTest {
  protected:
    NotificationCenter& center = NotificationCenter::defaultCenter();
    Lines heard;
};

TEST_F(NotificationCenterTest, PostCarriesObjectAndUserInfoToObserversInOrder) {
    int screen = 0;
    center.addObserver(&screen, "selectedPlan", [&](const Notification& n) {
        heard.push_back("screen " + std::any_cast<std::string>(n.object) + " " +
                        n.userInfo.value("id", std::string("?")));
    });
    auto token =
        center.observe("selectedPlan", [&](const Notification&) { heard.push_back("token"); });
    auto all = center.observe("", [&](const Notification& n) { heard.push_back("all " + n.name); });

    center.post("selectedPlan", std::string("myObject"), {{"id", "tier-2"}});
    center.post("other");
    EXPECT_EQ(heard, (Lines{"screen myObject tier-2", "token", "all selectedPlan", "all other"}));
    EXPECT_EQ(center.observerCount("selectedPlan"), 2u);
}

TEST_F(NotificationCenterTest, OwnersAndTokensRemoveTheirRegistrations) {
    int screen = 0;
    center.addObserver(&screen, "a", [&](const Notification&) { heard.push_back("a"); });
    center.addObserver(&screen, "b", [&](const Notification&) { heard.push_back("b"); });
    center.removeObserver(&screen, "a");
    center.post("a");
    center.post("b");
    center.removeObserver(&screen);
    center.post("b");
    EXPECT_EQ(heard, (Lines{"b"}));
    EXPECT_EQ(center.ownerRegistrationCount(&screen), 0u);

    {
        auto token = center.observe("c", [&](const Notification&) { heard.push_back("c"); });
        EXPECT_TRUE(token.isActive());
        auto moved = std::move(token);
        EXPECT_FALSE(token.isActive());
        center.post("c");
    }
    center.post("c");
    EXPECT_EQ(heard, (Lines{"b", "c"}));

    // A token outlives the centre harmlessly.
    auto token = center.observe("x", [](const Notification&) {});
    platform::resetProcessState();
    EXPECT_FALSE(token.isActive());
    token.reset();
}

TEST_F(NotificationCenterTest, ChangesDuringAPostApplyFromTheNextRegistrationOn) {
    ObserverToken late;
    ObserverToken second;
    auto first = center.observe("x", [&](const Notification&) {
        heard.push_back("first");
        second.reset();  // removed during the post: not called any more
        late = center.observe("x", [&](const Notification&) { heard.push_back("late"); });
    });
    second = center.observe("x", [&](const Notification&) { heard.push_back("second"); });
    center.post("x");
    EXPECT_EQ(heard, (Lines{"first"}));
}

TEST_F(NotificationCenterTest, ApplicationPostsItsStateChanges) {
    auto token = center.observe("", [&](const Notification& n) { heard.push_back(n.name); });
    auto& app = Application::shared();
    app.resignActive();
    app.resignActive();  // already inactive
    app.enterBackground();
    app.becomeActive();
    EXPECT_EQ(heard, (Lines{"UIApplicationWillResignActiveNotification",
                            "UIApplicationDidEnterBackgroundNotification",
                            "UIApplicationWillEnterForegroundNotification",
                            "UIApplicationDidBecomeActiveNotification"}));
}

}  // namespace
}  // namespace quillgate::ui
