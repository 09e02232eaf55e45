#include <cmath>
#include <fstream>
#include <functional>
#include <set>
#include <sstream>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "quillgate/client/QuillgateClient.h"
#include "quillgate/records/RecordCoding.h"
#include "quillgate/screens/BannerViewController.h"
#include "quillgate/screens/PopUpView.h"
#include "quillgate/screens/QuillgateStatusVC.h"
#include "quillgate/screens/SubscriptionViewController.h"
#include "quillgate/service/Constants.h"
#include "quillgate/ui/LayoutConstraint.h"
#include "quillgate/ui/NibRegistry.h"
#include "quillgate/ui/View.h"
#include "quillgate/ui/ViewController.h"
#include "tests/support/TestPlatform.h"
#include "tests/unit/client/ClientTestSupport.h"

namespace quillgate {
namespace {

using nlohmann::json;
using testing::RecordingHost;
using testing::TestPlatform;
using Access = QuillgateClientTestAccess;

const std::string kLetIn = "purchasedOrNot(accessTime: true)";
const std::string kWallActionId = "65f1c0a2e4b0a1d2c3f4a5b6";
const std::string kMeterActionId = "6601aa00bb11cc22dd33ee44";
const std::string kPaywallView = "~~~~~Event Name = PAYWALLVIEW~~~~~";
constexpr int kWallTag = 9988;

json recordBody(const std::string& name) {
    std::ifstream in(std::string(QUILLGATE_TEST_DATA_DIR) + "/records/" + name);
    std::stringstream text;
    text << in.rdbuf();
    return json::parse(text.str());
}

template <class T>
T decoded(const json& body) {
    auto result = decode<T>(body.dump());
    if (!result.ok()) {
        ADD_FAILURE() << "test body doesn't decode: " << body.dump();
        return T{};
    }
    return *result;
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

SharedCustomizePayWallModel templateNamed(const std::string& name) {
    return wallConfig([&](json& c) { mobileOf(c)["templateId"]["name"] = name; });
}

// A template screen that counts its refreshes.
class CountingTemplate : public ui::ViewController, public SharedData {
  public:
    explicit CountingTemplate(Token token) : ViewController(token) {}
    SharedCustomizePayWallModel customizePayWallModel() const override { return nullptr; }
    void setCustomizePayWallModel(SharedCustomizePayWallModel) override {}
    std::weak_ptr<quillgateVCDelegate> delegate() const override { return {}; }
    void setDelegate(std::weak_ptr<quillgateVCDelegate>) override {}
    void refreshData() override { ++refreshes; }
    int refreshes = 0;
};

class DispatchTest : public ::testing::Test {
  protected:
    DispatchTest() {
        client().configure(Mode::local, "client-1");
        tp.http().answer("/collect", 200, "{}");
        setUpArticle();
    }

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

    static QuillgateClient& client() { return QuillgateClient::shared(); }

    void settle() {
        for (int i = 0; i < 20 && tp.loop().pendingCount() > 0; ++i) {
            tp.runPending();
        }
    }

    // The template or banner on show, as a controller.
    static std::shared_ptr<ui::ViewController> wallScreen() {
        return std::dynamic_pointer_cast<ui::ViewController>(client().customPayWallVC);
    }
    static std::string wallClass() {
        auto screen = wallScreen();
        return screen ? screen->className() : "none";
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
        if (!root) {
            return ::testing::AssertionFailure() << "no root view";
        }
        if (parent->subviews().size() != 1 || parent->subviews().front() != root) {
            return ::testing::AssertionFailure()
                   << "parent holds " << parent->subviews().size() << " subviews";
        }
        if (root->tag() != kWallTag || root->translatesAutoresizingMaskIntoConstraints()) {
            return ::testing::AssertionFailure() << "tag " << root->tag() << " or autoresizing";
        }
        std::set<ui::LayoutAttribute> pinned;
        for (const auto* holder : {parent.get(), root.get()}) {
            for (const auto& c : holder->constraints()) {
                if (c->isActive() && c->firstItem() == root && c->secondItem() == parent &&
                    c->firstAttribute() == c->secondAttribute() && c->constant() == 0) {
                    pinned.insert(c->firstAttribute());
                }
            }
        }
        const std::set<ui::LayoutAttribute> edges = {
            ui::LayoutAttribute::leading, ui::LayoutAttribute::trailing, ui::LayoutAttribute::top,
            ui::LayoutAttribute::bottom};
        if (pinned != edges) {
            return ::testing::AssertionFailure() << pinned.size() << " edges pinned";
        }
        return ::testing::AssertionSuccess();
    }

    TestPlatform tp;
    std::shared_ptr<ui::View> parent = std::make_shared<ui::View>(ui::Rect(0, 0, 390, 800));
    std::shared_ptr<RecordingHost> host = std::make_shared<RecordingHost>();
};

// ---- Routing -------------------------------------------------------------------------------

TEST_F(DispatchTest, EveryTemplateNameReachesItsScreenInAnyCase) {
    struct Row {
        std::string name;
        std::string line;  // empty: not checked
        std::string screen;
    };
    const std::vector<Row> rows = {
        {"3A", "TEMPLATE3A", "CTA3ViewController"},
        {"4A", "TEMPLATE4A", "CTA4ViewController"},
        {"5a", "TEMPLATE5A", "CTA5ViewController"},
        {"7A", "TEMPLATE7A", "CTA7ViewController"},
        {"8a", "TEMPLATE8A", "CTA8ViewController"},
        {"RG4", "TEMPLATERG4", "RGViewController"},
        {"rg5", "", "RGViewController"},
        {"RG6", "TEMPLATERG6", "RGViewController"},
        {"13A", "TEMPLATE13A", "CTA13ViewController"},
        {"15a", "TEMPLATE15A", "CTA15ViewController"},
        {"DONT_EDIT_THIS_WALL_APP", "ZELPAYWALL", "ZelViewController"},
        {"dont_edit_this_wall_app", "ZELPAYWALL", "ZelViewController"},
    };
    auto& c = client();
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        tp.clearLines();
        c.parentView = std::make_shared<ui::View>();
        c.customPayWallVC.reset();
        c.isNeedToShowPaywall = true;
        auto model = templateNamed(row.name);

        Access::presentCustomizePayWall(c, model);

        EXPECT_EQ(wallClass(), row.screen);
        ASSERT_TRUE(wallScreen());
        EXPECT_TRUE(isWallIn(wallScreen()->viewIfLoaded(), c.parentView));
        if (!row.line.empty()) {
            EXPECT_TRUE(tp.printed(row.line));
        }
        EXPECT_EQ(c.customPayWallVC->customizePayWallModel(), model);
        EXPECT_EQ(c.customPayWallVC->delegate().lock().get(),
                  static_cast<quillgateVCDelegate*>(&c));
        EXPECT_FALSE(c.isNeedToShowPaywall);
        EXPECT_EQ(c.paywallName, row.name);
        EXPECT_EQ(c.paywallId, kWallActionId);
        EXPECT_EQ(c.paywallType, "PAYWALL");
        EXPECT_EQ(c.numOfCta, "3");
    }
}

TEST_F(DispatchTest, TheBrandWallIsChosenByTheRecordsNameOverTheTemplates) {
    auto model = wallConfig([](json& c) { c["data"]["name"] = "Dont_Edit_This_Wall_App"; });
    Access::presentCustomizePayWall(client(), model);
    EXPECT_EQ(wallClass(), "ZelViewController");
    EXPECT_EQ(client().paywallName, "Dont_Edit_This_Wall_App");
    EXPECT_TRUE(tp.printed("ZELPAYWALL"));
}

TEST_F(DispatchTest, DisplayTypeIsReadExactlyAndDefaultsToInArticle) {
    struct Row {
        std::optional<std::string> displayType;
        PAYWALLTYPE expected;
        std::string line;
    };
    const std::vector<Row> rows = {
        {std::nullopt, PAYWALLTYPE::INARTICLE, "Showing in-article paywall"},
        {"FULLPAGE", PAYWALLTYPE::FULLPAGE, "Showing full-page paywall"},
        {"POPUP", PAYWALLTYPE::POPUP, "Showing popup paywall"},
        {"popup", PAYWALLTYPE::INARTICLE, "Showing in-article paywall"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.displayType.value_or("absent"));
        tp.clearLines();
        client().parentView = std::make_shared<ui::View>();
        client().paywallDisplayType = PAYWALLTYPE::FULLPAGE;
        Access::presentCustomizePayWall(client(), wallConfig([&](json& c) {
                                            auto& wall = mobileOf(c)["templateId"];
                                            if (row.displayType) {
                                                wall["displayType"] = *row.displayType;
                                            } else {
                                                wall.erase("displayType");
                                            }
                                        }));
        EXPECT_EQ(client().paywallDisplayType, row.expected);
        EXPECT_TRUE(tp.printed(row.line));
    }
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
    for (const auto& model : {SharedCustomizePayWallModel{}, wallConfig([](json& b) {
                                  mobileOf(b)["templateId"].erase("paywallType");
                              })}) {
        tp.clearLines();
        Access::presentCustomizePayWall(c, model);
        EXPECT_EQ(tp.lines(), std::vector<std::string>{"No paywallType found"});
        EXPECT_EQ(c.paywallId, kWallActionId);
        EXPECT_EQ(c.paywallType, "");
        expectNothingAdded();
    }

    tp.clearLines();
    Access::presentCustomizePayWall(
        c, wallConfig([](json& b) { mobileOf(b)["templateId"].erase("number_of_cta"); }));
    EXPECT_EQ(tp.lines(), (std::vector<std::string>{"Showing in-article paywall", "No CTA found"}));
    EXPECT_EQ(c.paywallType, "PAYWALL");
    EXPECT_EQ(c.numOfCta, "");
    expectNothingAdded();
    tp.advance(10);
    EXPECT_FALSE(c.blockerVC);
}

TEST_F(DispatchTest, AnUnknownTemplateFallsToTheDefaultPaywall) {
    Access::presentCustomizePayWall(client(), templateNamed("9Z"));
    EXPECT_TRUE(tp.printed("9Z::Default Paywall"));
    EXPECT_FALSE(client().customPayWallVC);
    EXPECT_TRUE(parent->subviews().empty()) << "the default gate waits for the page load";

    tp.advance(2);  // the wall action's page-load condition
    ASSERT_TRUE(std::dynamic_pointer_cast<QuillgateStatusVC>(client().blockerVC));
    EXPECT_TRUE(isWallIn(client().blockerVC->viewIfLoaded(), parent));
}

TEST_F(DispatchTest, TimerTemplatesNeedADeadlineStillAhead) {
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

    // Passed, blank or absent: the default paywall.
    for (const auto& time : std::vector<std::optional<std::string>>{
             "Sat Jan 01 2000 00:00:00 GMT+0000", " ", std::nullopt}) {
        SCOPED_TRACE(time.value_or("absent"));
        freshArticle();
        Access::presentCustomizePayWall(c, withTimer(time));
        EXPECT_FALSE(c.customPayWallVC);
        tp.advance(2);
        EXPECT_TRUE(std::dynamic_pointer_cast<QuillgateStatusVC>(c.blockerVC));
    }
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
}

TEST_F(DispatchTest, ReloadRefreshesOnlyATemplateOfThePaywallEntry) {
    auto screen = ui::ViewController::create<CountingTemplate>();
    client().customPayWallVC = screen;

    Access::reloadSDK(client());
    EXPECT_EQ(screen->refreshes, 1);
    EXPECT_EQ(tp.countPrinted(kPaywallView), 1u);

    client().screenType = ScreenType::subPassScreen;
    Access::reloadSDK(client());
    client().screenType = ScreenType::paywallScreen;
    client().customPayWallVC.reset();
    Access::reloadSDK(client());
    EXPECT_EQ(screen->refreshes, 1);
    EXPECT_EQ(tp.countPrinted("reloadSDK"), 1u);
}

// ---- The configuration answer ----------------------------------------------------------------

TEST_F(DispatchTest, ConfigurationIsAskedForTheWallActionAndShownAfterItsGate) {
    tp.http().answer("/paywall/paywall-config/", 200, recordBody("customize_paywall.json").dump());
    client().isNeedToShowPaywall = false;

    Access::loadPaywallConfig(client());
    auto requests = tp.http().requestsTo("/paywall/paywall-config/client-1");
    ASSERT_EQ(requests.size(), 1u);
    EXPECT_NE(requests.front().url.find("paywallId=" + kWallActionId), std::string::npos);
    settle();

    EXPECT_TRUE(client().isNeedToShowPaywall) << "set again once the fonts are there";
    EXPECT_FALSE(client().isDefaultPaywall);
    ASSERT_TRUE(client().customizePayWallModel);
    EXPECT_EQ(client().customizePayWallModel->message, "Paywall config fetched successfully");

    tp.advance(2);
    EXPECT_EQ(wallClass(), "CTA3ViewController");
    EXPECT_TRUE(isWallIn(wallScreen()->viewIfLoaded(), parent));
}

TEST_F(DispatchTest, ConfigurationIsNotAskedWithoutAWallAction) {
    dropFromJourney("actionId");
    Access::loadPaywallConfig(client());
    EXPECT_TRUE(tp.http().requestsTo("/paywall/").empty());
}

TEST_F(DispatchTest, ConfigurationFallbacksReachTheDefaultPaywall) {
    json fallback = recordBody("customize_paywall.json");
    fallback["message"] = "Fallback To Default Paywall!";
    json untyped = recordBody("customize_paywall.json");
    mobileOf(untyped)["json"]["styleForText"].erase("typography");
    struct Row {
        std::string what;
        long status;
        std::string body;
    };
    const std::vector<Row> rows = {
        {"the record says so", 200, fallback.dump()},
        {"the service fails", 500, "{}"},
        {"no typography", 201, untyped.dump()},
    };
    auto& c = client();
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        freshArticle();
        tp.http().clearRules();
        tp.http().answer("/paywall/paywall-config/", row.status, row.body);

        Access::loadPaywallConfig(c);
        settle();
        EXPECT_FALSE(c.customizePayWallModel) << "the configuration stays as it was";
        tp.advance(2);
        EXPECT_TRUE(std::dynamic_pointer_cast<QuillgateStatusVC>(c.blockerVC));
        EXPECT_FALSE(c.customPayWallVC);
    }
    EXPECT_EQ(tp.countPrinted("default paywall"), 1u);
}

TEST_F(DispatchTest, ConfigurationRefusedOrUnknownOrUnreadableShowsNothing) {
    const std::vector<std::pair<long, std::string>> answers = {
        {400, recordBody("api_response.json").dump()}, {404, "{}"}, {200, "[]"}};
    for (const auto& [status, body] : answers) {
        SCOPED_TRACE(status);
        tp.http().clearRules();
        tp.http().answer("/paywall/paywall-config/", status, body);
        Access::loadPaywallConfig(client());
        settle();
        tp.advance(10);
        EXPECT_FALSE(client().blockerVC || client().customPayWallVC);
        EXPECT_TRUE(parent->subviews().empty());
    }
    EXPECT_TRUE(tp.printed("wrongClientOrContentID"));
}

// ---- The meter banner ---------------------------------------------------------------------

TEST_F(DispatchTest, BannerAnswerLetsTheReaderInAndShowsTheBanner) {
    tp.http().answer("/metering/banner/", 200, recordBody("meter_model.json").dump());
    Access::loadMeterBanner(client());
    EXPECT_EQ(tp.http().requestsTo("/metering/banner/" + kMeterActionId).size(), 1u);
    EXPECT_EQ(client().paywallId, kMeterActionId);
    settle();

    ASSERT_TRUE(client().meterModel);
    EXPECT_TRUE(tp.printedContaining("MeterModel::"));
    EXPECT_EQ(host->calls, std::vector<std::string>{kLetIn});

    tp.advance(2);  // the metering action's page-load condition
    EXPECT_EQ(wallClass(), "BannerViewController");
    EXPECT_TRUE(isWallIn(wallScreen()->viewIfLoaded(), parent));
}

TEST_F(DispatchTest, AFailedBannerCallStillLetsTheReaderIn) {
    const std::vector<std::tuple<long, std::string, std::string>> answers = {
        {500, "{}", "someThingWentWrong"},
        {404, "{}", "wrongClientOrContentID"},
        {400, "not json", "decodingError"},
        {400, recordBody("api_response.json").dump(), ""},
    };
    for (const auto& [status, body, line] : answers) {
        SCOPED_TRACE(status);
        host->calls.clear();
        tp.clearLines();
        tp.http().clearRules();
        tp.http().answer("/metering/banner/", status, body);
        Access::loadMeterBanner(client());
        settle();
        EXPECT_EQ(host->calls, std::vector<std::string>{kLetIn});
        if (!line.empty()) {
            EXPECT_TRUE(tp.printed(line));
        }
        EXPECT_FALSE(client().meterModel);
    }
}

TEST_F(DispatchTest, BannerWithoutAnAnswerOrARecordTellsTheHostNothing) {
    tp.http().fail("/metering/banner/");
    Access::loadMeterBanner(client());
    settle();
    tp.http().clearRules();
    tp.http().answer("/metering/banner/", 200, R"({"data": 5})");
    Access::loadMeterBanner(client());
    settle();
    EXPECT_TRUE(host->calls.empty());
    EXPECT_FALSE(client().meterModel);

    dropFromJourney("meteringAction");
    Access::loadMeterBanner(client());
    EXPECT_EQ(tp.http().requestsTo("/metering/banner/").size(), 2u);
}

TEST_F(DispatchTest, PresentingTheBannerWithoutItsRecordFallsToTheDefaultPaywall) {
    Access::presentMeterBanner(client());
    EXPECT_FALSE(client().customPayWallVC);
    tp.advance(2);
    EXPECT_TRUE(std::dynamic_pointer_cast<QuillgateStatusVC>(client().blockerVC));

    freshArticle();
    client().meterModel = decoded<MeterModel>(recordBody("meter_model.json"));
    tp.clearLines();
    Access::presentMeterBanner(client());
    EXPECT_EQ(wallClass(), "BannerViewController");
    EXPECT_TRUE(isWallIn(wallScreen()->viewIfLoaded(), parent));
    EXPECT_FALSE(client().isNeedToShowMeterBanner);
    EXPECT_EQ(client().customPayWallVC->delegate().lock().get(),
              static_cast<quillgateVCDelegate*>(&client()));
    const auto lines = tp.lines();
    ASSERT_GE(lines.size(), 2u);
    EXPECT_EQ(std::vector<std::string>(lines.begin(), lines.begin() + 2),
              (std::vector<std::string>{"Meter Banner", "isNeedToShowMeterBanner = false"}));
}

// ---- The default paywall and the subscription screen ----------------------------------------

TEST_F(DispatchTest, DefaultPaywallTakesTheArticleAndTheHostsChoices) {
    auto& c = client();
    c.contentDetailsModel = decoded<ContentDetails>(recordBody("content_details.json"));
    c.accentColor = ui::Color::blue();
    c.subscriberBtnDelegate = host;
    Constants::setSessionID("session-1");

    Access::presentDefaultPaywall(c);

    auto screen = std::dynamic_pointer_cast<QuillgateStatusVC>(c.blockerVC);
    ASSERT_TRUE(screen);
    EXPECT_TRUE(isWallIn(screen->viewIfLoaded(), parent));
    EXPECT_EQ(screen->clientID, "client-1");
    EXPECT_EQ(screen->contentID, "article-1");
    EXPECT_EQ(screen->contentDetails, c.contentDetailsModel);
    EXPECT_EQ(screen->delegate.lock().get(), static_cast<quillgateVCDelegate*>(&c));
    EXPECT_EQ(screen->accentColor, ui::Color::blue());
    EXPECT_EQ(screen->newAccentColor, ui::Color::rgb255(60, 70, 92));
    EXPECT_TRUE(screen->toShowSubscriberView);
    EXPECT_FALSE(screen->toShowLogInBtn);
    EXPECT_FALSE(screen->toShowLogInWithOrvelant);
    EXPECT_EQ(screen->userBalance, "125.50");
    EXPECT_FALSE(c.isNeedToShowPaywall);

    Access::presentDefaultPaywall(c);
    EXPECT_EQ(c.blockerVC, screen);
    EXPECT_EQ(parent->subviews().size(), 1u);
}

TEST_F(DispatchTest, DefaultPaywallWithoutContentShowsTheDefaultBalance) {
    client().parentView.reset();
    Access::presentDefaultPaywall(client());
    EXPECT_FALSE(client().blockerVC);

    client().parentView = parent;
    Access::presentDefaultPaywall(client());
    auto screen = std::dynamic_pointer_cast<QuillgateStatusVC>(client().blockerVC);
    ASSERT_TRUE(screen);
    EXPECT_EQ(screen->userBalance, "0");
    EXPECT_TRUE(screen->toShowLogInWithOrvelant);
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
        EXPECT_EQ(tp.lines(), (std::vector<std::string>{
                                  printedCross, shown ? "Optional(true)" : "Optional(false)"}));
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

TEST_F(DispatchTest, CloseTakesTheTemplateOrElseTheDefaultPaywallAway) {
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
}

TEST_F(DispatchTest, CloseOnTheSubscriptionEntryLeavesThePlansScreen) {
    auto& c = client();
    c.screenType = ScreenType::subPassScreen;
    Access::presentSubscriptionScreen(
        c, decoded<EmbededSubscription>(recordBody("embeded_subscription.json")));
    c.closeScreens();
    EXPECT_EQ(parent->subviews().size(), 1u);

    Access::presentDefaultPaywall(c);
    c.closeScreens();
    ASSERT_EQ(parent->subviews().size(), 1u);
    EXPECT_EQ(parent->subviews().front(), c.subscriptionVC->view());
}

// ---- The popup -----------------------------------------------------------------------------

class PopUpTest : public DispatchTest {
  protected:
    static ::testing::AssertionResult nearlyEqual(ui::Rect a, ui::Rect b) {
        const double d = std::abs(a.origin.x - b.origin.x) + std::abs(a.origin.y - b.origin.y) +
                         std::abs(a.size.width - b.size.width) +
                         std::abs(a.size.height - b.size.height);
        if (d < 1e-9) {
            return ::testing::AssertionSuccess();
        }
        return ::testing::AssertionFailure() << "(" << a.origin.x << ", " << a.origin.y << ", "
                                             << a.size.width << ", " << a.size.height << ")";
    }

    void withPopup(const std::string& type, const std::string& position) {
        PopUpModel model;
        model.type = type;
        model.position = position;
        client().popUpModel = model;
    }
};

TEST_F(PopUpTest, AMobilePopupComesAfterItsDelayPlacedByPosition) {
    withPopup("Mobile", "3");
    Access::showPopUp(client(), 3);
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
    // 30 points in from both sides, a quarter-and-a-bit as high as wide, 30 above the bottom.
    EXPECT_TRUE(nearlyEqual(popup->frame(), ui::Rect(30, 800 - 30 - 88, 330, 88)));

    Access::showPopUp(client(), 0);
    tp.runPending();
    EXPECT_EQ(parent->subviews().size(), 1u) << "one popup at a time";
}

TEST_F(PopUpTest, PositionsPlaceThePopupAndOthersLeaveItWhereItIs) {
    struct Row {
        std::string position;
        std::size_t constraints;
        ui::Rect frame;
    };
    const std::vector<Row> rows = {
        {"1", 4, ui::Rect(30, 100, 330, 88)},
        {"2", 4, ui::Rect(30, (800 - 440) / 2.0, 330, 440)},
        {"5", 4,
         ui::Rect(390 - 15 - 195, 800 - (1.7027027027027026 * 195 - 55) - 1.7027027027027026 * 195,
                  195, 1.7027027027027026 * 195)},
        {"CENTER", 0, ui::Rect()},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.position);
        client().popUpView.reset();
        client().parentView = parent = std::make_shared<ui::View>(ui::Rect(0, 0, 390, 800));
        withPopup("mobile", row.position);
        Access::showPopUp(client(), 0);
        tp.runPending();
        ASSERT_TRUE(client().popUpView);
        EXPECT_EQ(parent->constraints().size() + client().popUpView->constraints().size(),
                  row.constraints);
        EXPECT_TRUE(nearlyEqual(client().popUpView->frame(), row.frame));
    }
}

TEST_F(PopUpTest, APopupNotMeantForPhonesOrWithoutPositionIsDropped) {
    withPopup("WEB", "3");
    Access::showPopUp(client(), 0);
    client().popUpModel->position.reset();
    client().popUpModel->type = "mobile";
    Access::showPopUp(client(), 0);
    tp.runPending();
    EXPECT_FALSE(client().popUpView);
    EXPECT_TRUE(client().isNeedToShowPopUp);
    EXPECT_TRUE(parent->subviews().empty());
}

TEST_F(PopUpTest, AMissingOrWrongPopupNibEndsTheProgram) {
    withPopup("mobile", "3");
    EXPECT_DEATH(
        {
            ui::NibRegistry::shared().removeNib("PopUpView");
            Access::showPopUp(client(), 0);
            tp.runPending();
        },
        "Could not load view from nib file\\.");
    EXPECT_DEATH(
        {
            ui::NibRegistry::shared().registerNib(
                "PopUpView", [](ui::Responder*) { return std::make_shared<ui::View>(); });
            Access::showPopUp(client(), 0);
            tp.runPending();
        },
        "Could not load view from nib file\\.");
}

}  // namespace
}  // namespace quillgate
