#pragma once

#include <memory>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "quillgate/records/RecordCoding.h"
#include "quillgate/service/Constants.h"
#include "quillgate/templates/TemplateNibs.h"
#include "quillgate/ui/Application.h"
#include "quillgate/ui/LayoutConstraint.h"
#include "quillgate/ui/ViewController.h"
#include "quillgate/ui/Window.h"
#include "tests/unit/client/ClientTestSupport.h"

// What the template tests share: a client on an article with a host, a window whose root
// view is the article's parent view, and a way to put a template screen up from a JSON
// configuration, as the client does.
namespace quillgate::testing {

inline constexpr const char* kChallengeAnswer =
    R"({"loginChallengeId":"c","redirectTo":"orvelant://home?id=article-1"})";

// A configuration whose style document is `json`.
inline SharedCustomizePayWallModel configuration(const nlohmann::json& json) {
    const nlohmann::json body = {
        {"data",
         {{"configuration",
           {{"mobile",
             {{"templateId", {{"name", "3A"}, {"paywallType", "PAYWALL"}, {"number_of_cta", 3}}},
              {"json", json}}}}}}}};
    auto decoded = decodeParsed<CustomizePayWallModel>(body);
    EXPECT_TRUE(decoded.ok());
    return std::make_shared<const CustomizePayWallModel>(decoded.value());
}

// Slots with these value words, in box order.
inline nlohmann::json slotsOf(const std::vector<std::string>& words) {
    const char* names[] = {"contentDivBtn", "passDivBtn", "subDivBtn"};
    nlohmann::json slot = nlohmann::json::object();
    for (std::size_t i = 0; i < words.size() && i < 3; ++i) {
        slot[names[i]] = {{"value", words[i]}};
    }
    return {{"slot", slot}};
}

class TemplateTest : public ClientTest {
  protected:
    TemplateTest() {
        registerTemplateNibs();
        auto& c = client();
        c.contentID = "article-1";
        c.paywallType = "PAYWALL";
        c.paywallId = "pw-1";
        c.numOfCta = "3";
        c.completionHandlerDelegate = host;
        tp.defaults().setObject("anon-1", Constants::anonymousIDKey);
        tp.http().answer("/login-challenge", 201, kChallengeAnswer, "post");
        root = ui::ViewController::create<ui::ViewController>();
        window = ui::Application::shared().showWindow(root);
        parent = root->view();
        c.parentView = parent;
    }

    // A screen of class T with `model`, added to the parent view and settled.
    template <class T>
    std::shared_ptr<T> show(SharedCustomizePayWallModel model, bool withDelegate = true) {
        auto screen = ui::ViewController::create<T>();
        if (withDelegate) {
            screen->setDelegate(client().weak_from_this());
        }
        screen->setCustomizePayWallModel(std::move(model));
        auto view = screen->view();
        parent->addSubview(view);
        ui::pinToEdges(view, parent);
        settle();
        return screen;
    }

    // Bodies of the events posted so far that carry this click action.
    std::size_t clicks(const std::string& action) {
        std::size_t n = 0;
        for (const auto& request : tp.http().requestsTo("/collect")) {
            if (request.body &&
                request.body->find("\"clickAction\":\"" + action + "\"") != std::string::npos) {
                ++n;
            }
        }
        return n;
    }

    // Bodies of the click events posted so far, whatever their action.
    std::size_t allClicks() {
        std::size_t n = 0;
        for (const auto& request : tp.http().requestsTo("/collect")) {
            if (request.body && request.body->find("\"clickAction\"") != std::string::npos) {
                ++n;
            }
        }
        return n;
    }

    std::shared_ptr<ui::ViewController> root;
    std::shared_ptr<ui::Window> window;
};

}  // namespace quillgate::testing
