#include <cstdio>
#include <fstream>
#include <functional>
#include <set>

#include <nlohmann/json.hpp>

#include "quillgate/records/RecordCoding.h"
#include "quillgate/screens/PopUpView.h"
#include "quillgate/screens/QuillgateStatusVC.h"
#include "quillgate/screens/SubscriptionViewController.h"
#include "quillgate/service/Constants.h"
#include "quillgate/ui/LayoutConstraint.h"
#include "quillgate/ui/NibRegistry.h"
#include "tests/unit/client/ClientTestSupport.h"

namespace quillgate {
namespace {

using nlohmann::json;
using Access = QuillgateClientTestAccess;

const std::string kLetIn = "purchasedOrNot(accessTime: true)";
const std::string kWallActionId = "65f1c0a2e4b0a1d2c3f4a5b6";
const std::string kMeterActionId = "6601aa00bb11cc22dd33ee44";
const std::string kPaywallView = "~~~~~Event Name = PAYWALLVIEW~~~~~";
constexpr int kWallTag = 9988;

json recordBody(const std::string& name) {
    return json::parse(std::ifstream(std::string(QUILLGATE_TEST_DATA_DIR) + "/records/" + name));
}

template <class T>
T decoded(const json& body) {
    auto result = decode<T>(body.dump());
    EXPECT_TRUE(result.ok()) << "test body doesn't decode: " << body.dump();
    return result.ok() ? *result : T{};
}

json& mobileOf(json& config) {
    return config["data"]["configuration"]["mobile"];
}

// The configuration record of the test data ("3A", three calls to action, a timer ending in
// 2027), changed by `edit`.
SharedCustomizePayWallModel wallConfig(const std::function<void(json&)>& edit = {}) {
    json body = recordBody("customize_paywall.json");
    if (edit) {
        edit(body);
    }
    return std::make_shared<const CustomizePayWallModel>(decoded<CustomizePayWallModel>(body));
}

// The same with the value at `pointer` under its mobile configuration set, or removed when
// absent.
SharedCustomizePayWallModel wallWith(const std::string& pointer, std::optional<json> value) {
    return wallConfig([&](json& c) {
        const json::json_pointer at(pointer);
        if (value) {
            mobileOf(c)[at] = *value;
        } else {
            mobileOf(c)[at.parent_pointer()].erase(at.back());
        }
    });
}

SharedCustomizePayWallModel templateNamed(const std::string& name) {
    return wallWith("/templateId/name", name);
}

class DispatchTest : public testing::ClientTest {
  protected:
    DispatchTest() { setUpArticle(); }

    // The article of these tests: locked, with the journey of the test data, in `parent`.
    void setUpArticle() {
        auto& c = client();
        c.contentID = "article-1";
        c.parentView = parent;
        c.screenType = ScreenType::paywallScreen;
        c.completionHandlerDelegate = host;
        c.userJourneyModel = decoded<UserJourneyModel>(recordBody("user_journey.json"));
    }

    // Starts the article over in a new parent view. The reset's own scroll rule runs first,
    // while there is no parent view, so that it adds nothing.
    void freshArticle() {
        Access::resetValues(client());
        settle();
        parent = std::make_shared<ui::View>(ui::Rect(0, 0, 390, 800));
        setUpArticle();
    }

    // The template or banner on show, as a controller.
    static std::shared_ptr<ui::ViewController> wallScreen() {
        return std::dynamic_pointer_cast<ui::ViewController>(client().customPayWallVC);
    }
    static std::string wallClass() {
        auto screen = wallScreen();
        return screen ? screen->className() : "none";
    }
    static bool defaultWallShown() {
        return std::dynamic_pointer_cast<QuillgateStatusVC>(client().blockerVC) != nullptr;
    }

    // The journey of the test data without one of its actions.
    static void dropFromJourney(const std::string& key) {
        json journey = recordBody("user_journey.json");
        journey.erase(key);
        client().userJourneyModel = decoded<UserJourneyModel>(journey);
    }

    // Present: `root` is the parent's only subview, tagged as the wall, with its
    // autoresizing off and pinned to the parent's four edges.
    static ::testing::AssertionResult isWallIn(const std::shared_ptr<ui::View>& root,
                                               const std::shared_ptr<ui::View>& parent) {
        if (!root || parent->subviews() != std::vector{root})
            return ::testing::AssertionFailure() << "not the parent's only subview";
        if (root->tag() != kWallTag || root->translatesAutoresizingMaskIntoConstraints())
            return ::testing::AssertionFailure() << "tag " << root->tag() << " or autoresizing";
        std::set<ui::LayoutAttribute> pinned;
        for (const auto* holder : {parent.get(), root.get()}) {
            for (const auto& c : holder->constraints()) {
                if (c->isActive() && c->firstItem() == root && c->secondItem() == parent &&
                    c->firstAttribute() == c->secondAttribute() && c->constant() == 0)
                    pinned.insert(c->firstAttribute());
            }
        }
        using enum ui::LayoutAttribute;
        if (pinned != std::set{leading, trailing, top, bottom})
            return ::testing::AssertionFailure() << pinned.size() << " edges pinned";
        return ::testing::AssertionSuccess();
    }
};

// ---- Routing -------------------------------------------------------------------------------

TEST_F(DispatchTest, EveryTemplateNameReachesItsScreenInAnyCaseAndReadsItsDisplayType) {
    using enum PAYWALLTYPE;
    struct Row {
        std::string name;
        std::string line;  // empty: not checked
        std::string screen;
        std::optional<std::string> displayType;  // read exactly
        PAYWALLTYPE shownAs;
    };
    const std::vector<Row> rows = {
        {"3A", "TEMPLATE3A", "CTA3ViewController", {}, INARTICLE},
        {"4A", "TEMPLATE4A", "CTA4ViewController", "FULLPAGE", FULLPAGE},
        {"5a", "TEMPLATE5A", "CTA5ViewController", "POPUP", POPUP},
        {"7A", "TEMPLATE7A", "CTA7ViewController", "popup", INARTICLE},
        {"8a", "TEMPLATE8A", "CTA8ViewController", {}, INARTICLE},
        {"RG4", "TEMPLATERG4", "RGViewController", {}, INARTICLE},
        {"rg5", "", "RGViewController", {}, INARTICLE},
        {"RG6", "TEMPLATERG6", "RGViewController", {}, INARTICLE},
        {"13A", "TEMPLATE13A", "CTA13ViewController", {}, INARTICLE},
        {"15a", "TEMPLATE15A", "CTA15ViewController", {}, INARTICLE},
        {"DONT_EDIT_THIS_WALL_APP", "ZELPAYWALL", "ZelViewController", {}, INARTICLE},
        {"dont_edit_this_wall_app", "ZELPAYWALL", "ZelViewController", {}, INARTICLE},
    };
    const std::map<PAYWALLTYPE, std::string> shownLine = {{INARTICLE, "Showing in-article paywall"},
                                                          {FULLPAGE, "Showing full-page paywall"},
                                                          {POPUP, "Showing popup paywall"}};
    auto& c = client();
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        tp.clearLines();
        c.parentView = std::make_shared<ui::View>();
        c.customPayWallVC.reset();
        c.isNeedToShowPaywall = true;
        c.paywallDisplayType = FULLPAGE;
        auto model = wallConfig([&](json& b) {
            auto& wall = mobileOf(b)["templateId"];
            wall["name"] = row.name;
            if (row.displayType)
                wall["displayType"] = *row.displayType;
            else
                wall.erase("displayType");
        });

        Access::presentCustomizePayWall(c, model);

        EXPECT_EQ(wallClass(), row.screen);
        ASSERT_TRUE(wallScreen());
        EXPECT_TRUE(isWallIn(wallScreen()->viewIfLoaded(), c.parentView));
        if (!row.line.empty()) {
            EXPECT_TRUE(tp.printed(row.line));
        }
        EXPECT_EQ(c.paywallDisplayType, row.shownAs);
        EXPECT_TRUE(tp.printed(shownLine.at(row.shownAs)));
        EXPECT_EQ(c.customPayWallVC->customizePayWallModel(), model);
        EXPECT_EQ(c.customPayWallVC->delegate().lock().get(),
                  static_cast<quillgateVCDelegate*>(&c));
        EXPECT_FALSE(c.isNeedToShowPaywall);
        EXPECT_EQ(c.paywallName, row.name);
        EXPECT_EQ(c.paywallId, kWallActionId);
        EXPECT_EQ(c.paywallType, "PAYWALL");
        EXPECT_EQ(c.numOfCta, "3");
    }

    // The brand wall is chosen by the record's own name over its template's.
    freshArticle();
    Access::presentCustomizePayWall(
        c, wallConfig([](json& b) { b["data"]["name"] = "Dont_Edit_This_Wall_App"; }));
    EXPECT_EQ(wallClass(), "ZelViewController");
    EXPECT_EQ(c.paywallName, "Dont_Edit_This_Wall_App");
}

TEST_F(DispatchTest, MissingWallActionTemplateTypeOrCtaStopsWithItsLine) {
    auto& c = client();
    auto expectNothingAdded = [&] {
        EXPECT_TRUE(parent->subviews().empty());
        EXPECT_FALSE(c.customPayWallVC);
        EXPECT_TRUE(c.isNeedToShowPaywall);
    };

    dropFromJourney("actionId");
    Access::presentCustomizePayWall(c, wallConfig());
    EXPECT_EQ(tp.lines().back(), "No paywallId found");
    EXPECT_EQ(c.paywallId, "");
    expectNothingAdded();

    c.userJourneyModel = decoded<UserJourneyModel>(recordBody("user_journey.json"));
    for (const auto& model :
         {SharedCustomizePayWallModel{}, wallWith("/templateId/paywallType", std::nullopt)}) {
        tp.clearLines();
        Access::presentCustomizePayWall(c, model);
        EXPECT_EQ(tp.lines(), std::vector<std::string>{"No paywallType found"});
        EXPECT_EQ(c.paywallId, kWallActionId);
        EXPECT_EQ(c.paywallType, "");
        expectNothingAdded();
    }

    tp.clearLines();
    Access::presentCustomizePayWall(c, wallWith("/templateId/number_of_cta", std::nullopt));
    EXPECT_EQ(tp.lines(), (std::vector<std::string>{"Showing in-article paywall", "No CTA found"}));
    EXPECT_EQ(c.paywallType, "PAYWALL");
    EXPECT_EQ(c.numOfCta, "");
    expectNothingAdded();
    tp.advance(10);
    EXPECT_FALSE(c.blockerVC);
}

TEST_F(DispatchTest, TimerTemplatesNeedADeadlineStillAheadAndUnknownNamesFallBack) {
    auto withTimer = [](std::optional<std::string> time) {
        return wallConfig([&](json& c) {
            mobileOf(c)["templateId"]["name"] = "13A";
            if (time) {
                mobileOf(c)["json"]["timerValue"]["time"] = *time;
            } else {
                mobileOf(c)["json"].erase("timerValue");
            }
        });
    };
    auto& c = client();

    // Unreadable: nothing at all, now or later.
    Access::presentCustomizePayWall(c, withTimer("31/12/2027 23:59"));
    EXPECT_EQ(tp.lines().back(), "TEMPLATE13A");
    tp.advance(10);
    EXPECT_TRUE(parent->subviews().empty());
    EXPECT_FALSE(c.blockerVC || c.customPayWallVC);

    // Passed, blank or absent, or a name no screen has: the default paywall, once the wall
    // action's page-load condition is met.
    const SharedCustomizePayWallModel models[] = {withTimer("Sat Jan 01 2000 00:00:00 GMT+0000"),
                                                  withTimer(" "), withTimer(std::nullopt),
                                                  templateNamed("9Z")};
    for (const auto& model : models) {
        SCOPED_TRACE(&model - models);
        freshArticle();
        Access::presentCustomizePayWall(c, model);
        EXPECT_FALSE(c.customPayWallVC);
        EXPECT_TRUE(parent->subviews().empty());
        tp.advance(2);
        ASSERT_TRUE(defaultWallShown());
        EXPECT_TRUE(isWallIn(c.blockerVC->viewIfLoaded(), parent));
    }
    EXPECT_TRUE(tp.printed("9Z::Default Paywall"));
}

TEST_F(DispatchTest, ASecondPresentationOverAWallRefreshesItInstead) {
    Access::presentCustomizePayWall(client(), templateNamed("3A"));
    auto first = wallScreen();
    const auto viewsBefore = tp.countPrinted(kPaywallView);

    Access::presentCustomizePayWall(client(), templateNamed("5A"));

    EXPECT_EQ(wallScreen(), first);
    EXPECT_EQ(parent->subviews().size(), 1u);
    EXPECT_EQ(tp.countPrinted(kPaywallView), viewsBefore + 1);
    EXPECT_EQ(tp.lines().back(), "reloadSDK");

    // The reload refreshes only a template of the paywall entry.
    auto stub = ui::ViewController::create<testing::StubTemplate>();
    client().customPayWallVC = stub;
    Access::reloadSDK(client());
    client().screenType = ScreenType::subPassScreen;
    Access::reloadSDK(client());
    client().screenType = ScreenType::paywallScreen;
    client().customPayWallVC.reset();
    Access::reloadSDK(client());
    EXPECT_EQ(stub->refreshes, 1);
    EXPECT_EQ(tp.countPrinted("reloadSDK"), 2u);
    EXPECT_EQ(tp.countPrinted(kPaywallView), viewsBefore + 2);
}

// ---- The configuration answer ----------------------------------------------------------------

TEST_F(DispatchTest, ConfigurationAnswerChoosesTheTemplateTheDefaultPaywallOrNothing) {
    const std::string config = recordBody("customize_paywall.json").dump();
    json fallback = recordBody("customize_paywall.json");
    fallback["message"] = "Fallback To Default Paywall!";
    json untyped = recordBody("customize_paywall.json");
    mobileOf(untyped)["json"]["styleForText"].erase("typography");
    struct Row {
        long status;
        std::string body;
        std::string screen;  // after the wall action's page-load condition
    };
    const std::vector<Row> rows = {
        {200, config, "CTA3ViewController"},
        {200, fallback.dump(), "QuillgateStatusVC"},
        {500, "{}", "QuillgateStatusVC"},
        {201, untyped.dump(), "QuillgateStatusVC"},
        {400, recordBody("api_response.json").dump(), ""},
        {404, "{}", ""},
        {200, "[]", ""},
    };
    auto& c = client();
    for (const auto& row : rows) {
        SCOPED_TRACE(row.status);
        SCOPED_TRACE(row.body.substr(0, 40));
        freshArticle();
        const bool fetched = row.screen == "CTA3ViewController";
        c.isNeedToShowPaywall = !fetched;  // closed for the template: its answer opens it again
        tp.http().clearRules();
        tp.http().answer("/paywall/paywall-config/", row.status, row.body);

        Access::loadPaywallConfig(c);
        EXPECT_EQ(testing::queryOf(tp.http().requests().back().url)["paywallId"], kWallActionId);
        settle();
        EXPECT_EQ(bool(c.customizePayWallModel), fetched) << "kept only when it is shown";
        EXPECT_TRUE(c.isNeedToShowPaywall);
        tp.advance(10);
        EXPECT_FALSE(wallScreen() && c.blockerVC);
        const auto shown = wallScreen() ? wallScreen() : c.blockerVC;
        EXPECT_EQ(shown ? shown->className() : "", row.screen);
        if (shown) {
            EXPECT_TRUE(isWallIn(shown->viewIfLoaded(), parent));
        } else {
            EXPECT_TRUE(parent->subviews().empty());
        }
    }
    EXPECT_EQ(tp.countPrinted("default paywall"), 1u);
    EXPECT_TRUE(tp.printed("wrongClientOrContentID"));

    // Without a wall action nothing is asked.
    dropFromJourney("actionId");
    Access::loadPaywallConfig(c);
    EXPECT_EQ(sent("/paywall/"), rows.size());
}

// The same answer again (the next article behind the same wall) shares the model it gave
// before; any change to the answer is decoded afresh.
TEST_F(DispatchTest, AnAnswerLikeTheLastSharesItsModelAndAChangedOneIsReadAgain) {
    const std::string config = recordBody("customize_paywall.json").dump();
    json changed = recordBody("customize_paywall.json");
    changed["message"] = "Paywall config fetched again";
    auto& c = client();
    const auto modelFor = [&](const std::string& body) {
        freshArticle();
        tp.http().clearRules();
        tp.http().answer("/paywall/paywall-config/", 200, body);
        Access::loadPaywallConfig(c);
        settle();
        return c.customizePayWallModel;
    };
    const auto first = modelFor(config);
    ASSERT_TRUE(first);
    EXPECT_EQ(modelFor(config), first);
    const auto other = modelFor(changed.dump());
    ASSERT_TRUE(other);
    EXPECT_NE(other, first);
    EXPECT_EQ(other->message, "Paywall config fetched again");
    const auto back = modelFor(config);
    ASSERT_TRUE(back);
    EXPECT_EQ(back->message, first->message);
    EXPECT_EQ(modelFor("{not json"), nullptr);
    EXPECT_EQ(modelFor(config), back);
}

// ---- The meter banner ---------------------------------------------------------------------

TEST_F(DispatchTest, BannerAnswerLetsTheReaderInUnlessThereIsNoAnswerOrRecord) {
    struct Row {
        long status;  // 0: no answer at all
        std::string body;
        std::string line;
        bool letIn;
    };
    const std::vector<Row> rows = {
        {200, recordBody("meter_model.json").dump(), "", true},
        {500, "{}", "someThingWentWrong", true},
        {404, "{}", "wrongClientOrContentID", true},
        {400, "not json", "decodingError", true},
        {400, recordBody("api_response.json").dump(), "", true},
        {0, "", "", false},
        {200, R"({"data": 5})", "", false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.status);
        freshArticle();
        host->calls.clear();
        tp.clearLines();
        tp.http().clearRules();
        if (row.status == 0) {
            tp.http().fail("/metering/banner/");
        } else {
            tp.http().answer("/metering/banner/", row.status, row.body);
        }
        Access::loadMeterBanner(client());
        EXPECT_NE(tp.http().requests().back().url.find("/metering/banner/" + kMeterActionId),
                  std::string::npos);
        EXPECT_EQ(client().paywallId, kMeterActionId);
        settle();
        EXPECT_EQ(host->calls,
                  row.letIn ? std::vector<std::string>{kLetIn} : std::vector<std::string>{});
        if (!row.line.empty()) {
            EXPECT_TRUE(tp.printed(row.line));
        }
        const bool fetched = &row == &rows.front();
        EXPECT_EQ(bool(client().meterModel), fetched);
        EXPECT_EQ(tp.printedContaining("MeterModel::"), fetched);
        tp.clearLines();
        tp.advance(2);  // the metering action's page-load condition
        EXPECT_EQ(wallClass(), fetched ? "BannerViewController" : "none");
        if (fetched) {
            EXPECT_TRUE(isWallIn(wallScreen()->viewIfLoaded(), parent));
            EXPECT_FALSE(client().isNeedToShowMeterBanner);
            EXPECT_EQ(client().customPayWallVC->delegate().lock().get(),
                      static_cast<quillgateVCDelegate*>(&client()));
            auto lines = tp.lines();
            lines.resize(2);
            EXPECT_EQ(lines, (std::vector<std::string>{"Meter Banner",
                                                       "isNeedToShowMeterBanner = false"}));
        }
    }

    dropFromJourney("meteringAction");
    Access::loadMeterBanner(client());
    EXPECT_EQ(sent("/metering/banner/"), rows.size()) << "no metering action: no request";
}

TEST_F(DispatchTest, PresentingTheBannerWithoutItsRecordFallsToTheDefaultPaywall) {
    Access::presentMeterBanner(client());
    EXPECT_FALSE(client().customPayWallVC);
    tp.advance(2);
    EXPECT_TRUE(defaultWallShown());
}

// ---- The default paywall and the subscription screen ----------------------------------------

TEST_F(DispatchTest, DefaultPaywallTakesTheArticleAndTheHostsChoices) {
    auto& c = client();
    c.parentView.reset();
    Access::presentDefaultPaywall(c);
    EXPECT_FALSE(c.blockerVC) << "no parent view, no wall";

    // Without content details: the default balance and the service's own login.
    c.parentView = parent;
    Access::presentDefaultPaywall(c);
    auto screen = std::dynamic_pointer_cast<QuillgateStatusVC>(c.blockerVC);
    ASSERT_TRUE(screen);
    EXPECT_EQ(screen->userBalance, "0");
    EXPECT_TRUE(screen->toShowLogInWithOrvelant);

    freshArticle();
    c.contentDetailsModel = decoded<ContentDetails>(recordBody("content_details.json"));
    c.accentColor = ui::Color::blue();
    c.subscriberBtnDelegate = host;
    Constants::setSessionID("session-1");

    Access::presentDefaultPaywall(c);

    screen = std::dynamic_pointer_cast<QuillgateStatusVC>(c.blockerVC);
    ASSERT_TRUE(screen);
    EXPECT_TRUE(isWallIn(screen->viewIfLoaded(), parent));
    EXPECT_EQ(screen->clientID, "client-1");
    EXPECT_EQ(screen->contentID, "article-1");
    EXPECT_EQ(screen->contentDetails, c.contentDetailsModel);
    EXPECT_EQ(screen->delegate.lock().get(), static_cast<quillgateVCDelegate*>(&c));
    EXPECT_EQ(screen->accentColor, ui::Color::blue());
    EXPECT_TRUE(screen->toShowSubscriberView);
    EXPECT_FALSE(screen->toShowLogInBtn);
    EXPECT_FALSE(screen->toShowLogInWithOrvelant);
    EXPECT_EQ(screen->userBalance, "125.50");
    EXPECT_FALSE(c.isNeedToShowPaywall);

    Access::presentDefaultPaywall(c);
    EXPECT_EQ(c.blockerVC, screen);
    EXPECT_EQ(parent->subviews().size(), 1u);
}

TEST_F(DispatchTest, SubscriptionScreenShowsItsCloseButtonUnlessTheHostSaidNo) {
    const auto plans = decoded<EmbededSubscription>(recordBody("embeded_subscription.json"));
    const std::vector<std::tuple<std::optional<bool>, bool, std::string>> rows = {
        {std::nullopt, true, "nil"},
        {true, true, "Optional(true)"},
        {false, false, "Optional(false)"},
    };
    for (const auto& [cross, shown, printedCross] : rows) {
        SCOPED_TRACE(printedCross);
        client().subscriptionVC.reset();
        client().parentView = std::make_shared<ui::View>();
        client().crossButton = cross;
        tp.clearLines();

        Access::presentSubscriptionScreen(client(), plans);

        auto screen =
            std::dynamic_pointer_cast<SubscriptionViewController>(client().subscriptionVC);
        ASSERT_TRUE(screen);
        EXPECT_EQ(screen->crossBtnHS, shown);
        const std::string crossBtnHS = shown ? "Optional(true)" : "Optional(false)";
        // The client's two lines, then the screen's own as it loads.
        EXPECT_EQ(tp.lines(),
                  (std::vector<std::string>{printedCross, crossBtnHS,
                                            crossBtnHS + " nil " + (shown ? "false" : "true")}));
        EXPECT_EQ(screen->embededSubModel, plans);
        EXPECT_EQ(screen->clientId, "client-1");
        EXPECT_EQ(screen->contentId, "article-1");
        EXPECT_TRUE(screen->toShowLogInWithOrvelant);
        EXPECT_TRUE(isWallIn(screen->viewIfLoaded(), client().parentView));
    }
    auto first = client().subscriptionVC;
    Access::presentSubscriptionScreen(client(), plans);
    EXPECT_EQ(client().subscriptionVC, first);
    EXPECT_EQ(client().parentView->subviews().size(), 1u);
}

// ---- Closing -------------------------------------------------------------------------------

TEST_F(DispatchTest, CloseTakesTheTemplateOrElseTheDefaultPaywallAwayButNotThePlans) {
    auto& c = client();
    Access::presentCustomizePayWall(c, templateNamed("3A"));
    c.closeScreens();
    EXPECT_TRUE(parent->subviews().empty());
    EXPECT_TRUE(c.customPayWallVC) << "the field keeps its screen";

    // With a default paywall on show, only the default paywall goes.
    c.parentView = parent = std::make_shared<ui::View>();
    parent->addSubview(wallScreen()->view());
    Access::presentDefaultPaywall(c);
    c.closeScreens();
    ASSERT_EQ(parent->subviews().size(), 1u);
    EXPECT_EQ(parent->subviews().front(), wallScreen()->view());

    // On the subscription entry the plans screen stays.
    freshArticle();
    c.screenType = ScreenType::subPassScreen;
    Access::presentSubscriptionScreen(
        c, decoded<EmbededSubscription>(recordBody("embeded_subscription.json")));
    Access::presentDefaultPaywall(c);
    c.closeScreens();
    ASSERT_EQ(parent->subviews().size(), 1u);
    EXPECT_EQ(parent->subviews().front(), c.subscriptionVC->view());
}

// ---- The popup -----------------------------------------------------------------------------

class PopUpTest : public DispatchTest {
  protected:
    // Asks for a popup of `type` at `position` over a new parent view, after `delay` seconds.
    void showPopUp(const std::string& type, std::optional<std::string> position, double delay) {
        client().popUpView.reset();
        client().isNeedToShowPopUp = true;
        client().parentView = parent = std::make_shared<ui::View>(ui::Rect(0, 0, 390, 800));
        client().popUpModel = PopUpModel{};
        client().popUpModel->type = type;
        client().popUpModel->position = position;
        Access::showPopUp(client(), delay);
    }

    static std::string text(ui::Rect r) {
        char out[96];
        std::snprintf(out, sizeof out, "(%.3f, %.3f, %.3f, %.3f)", r.origin.x, r.origin.y,
                      r.size.width, r.size.height);
        return out;
    }
};

TEST_F(PopUpTest, AMobilePopupComesAfterItsDelayOnceOnly) {
    showPopUp("Mobile", "3", 3);
    tp.advance(2.9);
    EXPECT_FALSE(client().popUpView);

    tp.advance(0.1);
    auto popup = std::dynamic_pointer_cast<PopUpView>(client().popUpView);
    ASSERT_TRUE(popup);
    EXPECT_EQ(popup->superview(), parent);
    EXPECT_FALSE(popup->translatesAutoresizingMaskIntoConstraints());
    EXPECT_FALSE(client().isNeedToShowPopUp);
    EXPECT_TRUE(tp.printed("~~~~~Event Name = POPUPVIEW~~~~~"));
    EXPECT_TRUE(tp.printed("showPopUp()"));

    Access::showPopUp(client(), 0);
    tp.runPending();
    EXPECT_EQ(parent->subviews().size(), 1u) << "one popup at a time";
}

TEST_F(PopUpTest, PositionsPlaceThePopupOthersLeaveItAndOnlyPhonesGetOne) {
    struct Row {
        std::string type;
        std::optional<std::string> position;
        std::size_t constraints;  // -1: no popup at all
        ui::Rect frame;
    };
    const double tall = 1.7027027027027026 * 195;
    const std::vector<Row> rows = {
        {"mobile", "1", 4, ui::Rect(30, 100, 330, 88)},
        {"mobile", "2", 4, ui::Rect(30, (800 - 440) / 2.0, 330, 440)},
        // 30 points in from both sides, a quarter-and-a-bit as high as wide, 30 above the bottom.
        {"mobile", "3", 4, ui::Rect(30, 800 - 30 - 88, 330, 88)},
        {"mobile", "5", 4, ui::Rect(390 - 15 - 195, 800 - (tall - 55) - tall, 195, tall)},
        // Where it was added: the nib's own frame.
        {"mobile", "CENTER", 0, PopUpView::loadFromNib()->frame()},
        {"WEB", "3", std::size_t(-1), {}},
        {"mobile", std::nullopt, std::size_t(-1), {}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.type + " " + row.position.value_or("absent"));
        showPopUp(row.type, row.position, 0);
        tp.runPending();
        if (row.constraints == std::size_t(-1)) {
            EXPECT_FALSE(client().popUpView);
            EXPECT_TRUE(client().isNeedToShowPopUp);
            EXPECT_TRUE(parent->subviews().empty());
            continue;
        }
        ASSERT_TRUE(client().popUpView);
        EXPECT_EQ(parent->constraints().size() + client().popUpView->constraints().size(),
                  row.constraints);
        EXPECT_EQ(text(client().popUpView->frame()), text(row.frame));
    }
}

TEST_F(PopUpTest, AMissingOrWrongPopupNibEndsTheProgram) {
    auto& nibs = ui::NibRegistry::shared();
    EXPECT_DEATH((nibs.removeNib("PopUpView"), showPopUp("mobile", "3", 0), tp.runPending()),
                 "Could not load view from nib file\\.");
    EXPECT_DEATH(
        (nibs.registerNib("PopUpView", [](ui::Responder*) { return std::make_shared<ui::View>(); }),
         showPopUp("mobile", "3", 0), tp.runPending()),
        "Could not load view from nib file\\.");
}

}  // namespace
}  // namespace quillgate
