#include "quillgate/platform/linux/desktop/DesktopWebView.h"

#include <webkit/webkit.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <utility>

#include "quillgate/platform/Platform.h"

namespace quillgate::desktop {

namespace {

constexpr const char* kUrlErrorDomain = "NSURLErrorDomain";
constexpr const char* kFrameErrorDomain = "WebKitErrorDomain";

std::vector<DesktopWebView*>& registry() {
    static std::vector<DesktopWebView*> views;
    return views;
}

// Hands `task` to the main queue, unless the library has been shut down meanwhile (a late
// signal after the process state was reset must not bring up a fresh platform).
void onMainQueue(std::function<void()> task) {
    if (platform::isInstalled()) {
        platform::mainQueue().async(std::move(task));
    }
}

std::string takeText(char* text) {
    std::string out = text ? text : "";
    g_free(text);
    return out;
}

nlohmann::json jsonOf(JSCValue* value) {
    if (!value || jsc_value_is_null(value) || jsc_value_is_undefined(value)) {
        return nullptr;
    }
    if (jsc_value_is_string(value)) {
        return takeText(jsc_value_to_string(value));
    }
    if (jsc_value_is_boolean(value)) {
        return static_cast<bool>(jsc_value_to_boolean(value));
    }
    if (jsc_value_is_number(value)) {
        const double number = jsc_value_to_double(value);
        if (std::isfinite(number) && number == std::floor(number) && std::fabs(number) < 9.0e15) {
            return static_cast<std::int64_t>(number);
        }
        return number;
    }
    auto parsed = nlohmann::json::parse(takeText(jsc_value_to_json(value, 0)), nullptr, false);
    return parsed.is_discarded() ? nlohmann::json(nullptr) : parsed;
}

ui::NavigationType navigationTypeOf(WebKitNavigationType type) {
    switch (type) {
        case WEBKIT_NAVIGATION_TYPE_LINK_CLICKED:
            return ui::NavigationType::linkActivated;
        case WEBKIT_NAVIGATION_TYPE_FORM_SUBMITTED:
            return ui::NavigationType::formSubmitted;
        case WEBKIT_NAVIGATION_TYPE_BACK_FORWARD:
            return ui::NavigationType::backForward;
        case WEBKIT_NAVIGATION_TYPE_RELOAD:
            return ui::NavigationType::reload;
        case WEBKIT_NAVIGATION_TYPE_FORM_RESUBMITTED:
            return ui::NavigationType::formResubmitted;
        case WEBKIT_NAVIGATION_TYPE_OTHER:
            break;
    }
    return ui::NavigationType::other;
}

// The engine's decision held until the delegate answers; dropped unanswered, the engine goes
// its default way (it loads).
using HeldDecision = std::shared_ptr<WebKitPolicyDecision>;

HeldDecision hold(WebKitPolicyDecision* decision) {
    g_object_ref(decision);
    return HeldDecision(decision, [](WebKitPolicyDecision* d) { g_object_unref(d); });
}

}  // namespace

ui::WebError webErrorFor(std::string_view domain, int code, std::string message) {
    if (domain == "WebKitNetworkError" && code == WEBKIT_NETWORK_ERROR_CANCELLED) {
        return ui::WebError{ui::WebError::cancelledCode, kUrlErrorDomain, std::move(message)};
    }
    const bool cannotShow =
        (domain == "WebKitPolicyError" && code == WEBKIT_POLICY_ERROR_CANNOT_SHOW_URI) ||
        (domain == "WebKitNetworkError" && code == WEBKIT_NETWORK_ERROR_UNKNOWN_PROTOCOL) ||
        // A server redirect to another scheme fails without a domain or a code.
        (domain.empty() && code == 0);
    if (cannotShow) {
        return ui::WebError{ui::WebError::unsupportedURLCode, kUrlErrorDomain, std::move(message)};
    }
    if (domain == "WebKitPolicyError" &&
        code == WEBKIT_POLICY_ERROR_FRAME_LOAD_INTERRUPTED_BY_POLICY_CHANGE) {
        return ui::WebError{ui::WebError::frameLoadInterruptedCode, kFrameErrorDomain,
                            std::move(message)};
    }
    return ui::WebError{code, std::string(domain), std::move(message)};
}

// The engine's objects and what this view knows of the navigation under way.
struct DesktopWebView::Engine {
    DesktopWebView* owner = nullptr;
    WebKitWebView* view = nullptr;
    WebKitUserContentManager* content = nullptr;
    std::map<std::string, gulong> handlers;  // name -> signal handler on `content`
    std::optional<ui::Navigation> current;
    bool committed = false;
    bool failed = false;
    std::uint64_t nextId = 1;

    std::weak_ptr<ui::View> weakOwner() const { return owner->weak_from_this(); }

    // Runs `task` on the main queue with the owner, if it is still there.
    void post(std::function<void(DesktopWebView&)> task) const {
        onMainQueue([weak = weakOwner(), task = std::move(task)] {
            if (auto self = std::static_pointer_cast<DesktopWebView>(weak.lock())) {
                task(*self);
            }
        });
    }
    void tellDelegate(std::function<void(ui::NavigationDelegate&, DesktopWebView&)> call) const {
        post([call = std::move(call)](DesktopWebView& self) {
            if (auto delegate = self.navigationDelegate()) {
                call(*delegate, self);
            }
        });
    }

    static gboolean decidePolicy(WebKitWebView*, WebKitPolicyDecision* decision,
                                 WebKitPolicyDecisionType type, gpointer data) {
        auto* engine = static_cast<Engine*>(data);
        if (type == WEBKIT_POLICY_DECISION_TYPE_RESPONSE) {
            return FALSE;  // the engine's default: show what it can, download nothing
        }
        auto* navigation = WEBKIT_NAVIGATION_POLICY_DECISION(decision);
        WebKitNavigationAction* action =
            webkit_navigation_policy_decision_get_navigation_action(navigation);
        WebKitURIRequest* request = webkit_navigation_action_get_request(action);
        ui::NavigationAction asked;
        asked.request.url = webkit_uri_request_get_uri(request);
        if (const char* method = webkit_uri_request_get_http_method(request)) {
            asked.request.method = method;
        }
        asked.navigationType =
            navigationTypeOf(webkit_navigation_action_get_navigation_type(action));
        asked.isRedirect = webkit_navigation_action_is_redirect(action);
        if (type == WEBKIT_POLICY_DECISION_TYPE_NEW_WINDOW_ACTION) {
            // No second window: the page's new window opens here, as a navigation of its own.
            webkit_policy_decision_ignore(decision);
            engine->post([url = asked.request.url](DesktopWebView& self) {
                platform::HttpRequest next;
                next.url = url;
                self.load(next);
            });
            return TRUE;
        }
        auto held = hold(decision);
        engine->post([held, asked](DesktopWebView& self) {
            auto answered = std::make_shared<bool>(false);
            auto handler = [held, answered](ui::NavigationActionPolicy policy) {
                if (*answered) {
                    return;
                }
                *answered = true;
                if (policy == ui::NavigationActionPolicy::allow) {
                    webkit_policy_decision_use(held.get());
                } else {
                    webkit_policy_decision_ignore(held.get());
                }
            };
            if (auto delegate = self.navigationDelegate()) {
                delegate->decidePolicyForNavigationAction(self, asked, handler);
            } else {
                handler(ui::NavigationActionPolicy::allow);
            }
        });
        return TRUE;
    }

    static void loadChanged(WebKitWebView*, WebKitLoadEvent event, gpointer data) {
        auto* engine = static_cast<Engine*>(data);
        switch (event) {
            case WEBKIT_LOAD_STARTED: {
                engine->current = ui::Navigation{engine->nextId++};
                engine->committed = false;
                engine->failed = false;
                const ui::Navigation n = *engine->current;
                engine->tellDelegate([n](ui::NavigationDelegate& d, DesktopWebView& self) {
                    d.didStartProvisionalNavigation(self, n);
                });
                break;
            }
            case WEBKIT_LOAD_REDIRECTED:
                if (engine->current) {
                    const ui::Navigation n = *engine->current;
                    engine->tellDelegate([n](ui::NavigationDelegate& d, DesktopWebView& self) {
                        d.didReceiveServerRedirect(self, n);
                    });
                }
                break;
            case WEBKIT_LOAD_COMMITTED:
                if (engine->current) {
                    engine->committed = true;
                    const ui::Navigation n = *engine->current;
                    engine->tellDelegate([n](ui::NavigationDelegate& d, DesktopWebView& self) {
                        d.didCommitNavigation(self, n);
                    });
                }
                break;
            case WEBKIT_LOAD_FINISHED:
                // After a failure the engine finishes too; the failure was the end.
                if (engine->current && !engine->failed) {
                    const ui::Navigation n = *engine->current;
                    engine->tellDelegate([n](ui::NavigationDelegate& d, DesktopWebView& self) {
                        d.didFinishNavigation(self, n);
                    });
                }
                engine->current.reset();
                break;
        }
    }

    static gboolean loadFailed(WebKitWebView*, WebKitLoadEvent, char*, GError* error,
                               gpointer data) {
        auto* engine = static_cast<Engine*>(data);
        const std::string domain =
            error && error->domain ? g_quark_to_string(error->domain) : std::string();
        const ui::WebError mapped = webErrorFor(domain, error ? error->code : 0,
                                                error && error->message ? error->message : "");
        const ui::Navigation n = engine->current.value_or(ui::Navigation{engine->nextId++});
        const bool provisional = !engine->committed;
        engine->failed = true;
        engine->tellDelegate(
            [n, mapped, provisional](ui::NavigationDelegate& d, DesktopWebView& self) {
                if (provisional) {
                    d.didFailProvisionalNavigation(self, n, mapped);
                } else {
                    d.didFailNavigation(self, n, mapped);
                }
            });
        return TRUE;  // no error page of the engine's own
    }

    static void loadingChanged(GObject*, GParamSpec*, gpointer data) {
        auto* engine = static_cast<Engine*>(data);
        const bool loading = webkit_web_view_is_loading(engine->view);
        engine->post([loading](DesktopWebView& self) { self.setLoading(loading); });
    }

    static void uriChanged(GObject*, GParamSpec*, gpointer data) {
        auto* engine = static_cast<Engine*>(data);
        const char* uri = webkit_web_view_get_uri(engine->view);
        std::optional<std::string> url = uri ? std::optional<std::string>(uri) : std::nullopt;
        engine->post([url](DesktopWebView& self) { self.setUrl(url); });
    }

    static void titleChanged(GObject*, GParamSpec*, gpointer data) {
        auto* engine = static_cast<Engine*>(data);
        const char* title = webkit_web_view_get_title(engine->view);
        std::optional<std::string> text = title ? std::optional<std::string>(title) : std::nullopt;
        engine->post([text](DesktopWebView& self) { self.setTitle(text); });
    }

    // One per registered name: the signal's detail is the name, its data the name's text.
    static void messageReceived(WebKitUserContentManager*, JSCValue* value, gpointer data) {
        auto* registration = static_cast<Registration*>(data);
        ui::ScriptMessage message{registration->name, jsonOf(value)};
        registration->engine->post([message](DesktopWebView& self) {
            auto keep = self.shared_from_this();
            self.userContentController().deliver(message);
        });
    }

    struct Registration {
        Engine* engine;
        std::string name;
    };
};

DesktopWebView::DesktopWebView() : engine_(std::make_unique<Engine>()) {
    engine_->owner = this;
    engine_->view = WEBKIT_WEB_VIEW(g_object_ref_sink(webkit_web_view_new()));
    engine_->content = webkit_web_view_get_user_content_manager(engine_->view);
    Engine* e = engine_.get();
    g_signal_connect(e->view, "decide-policy", G_CALLBACK(&Engine::decidePolicy), e);
    g_signal_connect(e->view, "load-changed", G_CALLBACK(&Engine::loadChanged), e);
    g_signal_connect(e->view, "load-failed", G_CALLBACK(&Engine::loadFailed), e);
    g_signal_connect(e->view, "notify::is-loading", G_CALLBACK(&Engine::loadingChanged), e);
    g_signal_connect(e->view, "notify::uri", G_CALLBACK(&Engine::uriChanged), e);
    g_signal_connect(e->view, "notify::title", G_CALLBACK(&Engine::titleChanged), e);
    registry().push_back(this);
}

DesktopWebView::~DesktopWebView() {
    std::erase(registry(), this);
    Engine* e = engine_.get();
    for (const auto& [name, id] : e->handlers) {
        g_signal_handler_disconnect(e->content, id);
        webkit_user_content_manager_unregister_script_message_handler(e->content, name.c_str(),
                                                                      nullptr);
    }
    g_signal_handlers_disconnect_by_data(e->view, e);
    webkit_web_view_stop_loading(e->view);
    GtkWidget* widget = GTK_WIDGET(e->view);
    if (GtkWidget* parent = gtk_widget_get_parent(widget); parent && GTK_IS_OVERLAY(parent)) {
        gtk_overlay_remove_overlay(GTK_OVERLAY(parent), widget);
    }
    g_object_unref(e->view);
}

std::vector<DesktopWebView*> DesktopWebView::all() {
    return registry();
}

GtkWidget* DesktopWebView::widget() const {
    return GTK_WIDGET(engine_->view);
}

void DesktopWebView::syncScriptMessageHandlers() {
    Engine* e = engine_.get();
    const auto names = userContentController().handlerNames();
    for (auto it = e->handlers.begin(); it != e->handlers.end();) {
        if (std::find(names.begin(), names.end(), it->first) == names.end()) {
            g_signal_handler_disconnect(e->content, it->second);
            webkit_user_content_manager_unregister_script_message_handler(
                e->content, it->first.c_str(), nullptr);
            it = e->handlers.erase(it);
        } else {
            ++it;
        }
    }
    for (const auto& name : names) {
        if (e->handlers.contains(name) ||
            !webkit_user_content_manager_register_script_message_handler(e->content, name.c_str(),
                                                                         nullptr)) {
            continue;
        }
        auto* registration = new Engine::Registration{e, name};
        const std::string signal = "script-message-received::" + name;
        e->handlers[name] = g_signal_connect_data(
            e->content, signal.c_str(), G_CALLBACK(&Engine::messageReceived), registration,
            [](gpointer data, GClosure*) { delete static_cast<Engine::Registration*>(data); },
            GConnectFlags(0));
    }
}

void DesktopWebView::prepareLoad() {
    syncScriptMessageHandlers();
    const auto& custom = customUserAgent();
    webkit_settings_set_user_agent(webkit_web_view_get_settings(engine_->view),
                                   custom ? custom->c_str() : nullptr);
}

std::optional<ui::Navigation> DesktopWebView::load(const platform::HttpRequest& request) {
    prepareLoad();
    WebKitURIRequest* uriRequest = webkit_uri_request_new(request.url.c_str());
    if (SoupMessageHeaders* headers = webkit_uri_request_get_http_headers(uriRequest)) {
        for (const auto& [name, value] : request.headers) {
            soup_message_headers_replace(headers, name.c_str(), value.c_str());
        }
    }
    webkit_web_view_load_request(engine_->view, uriRequest);
    g_object_unref(uriRequest);
    return std::nullopt;
}

std::optional<ui::Navigation> DesktopWebView::loadHTMLString(
    const std::string& html, const std::optional<std::string>& baseUrl) {
    prepareLoad();
    webkit_web_view_load_html(engine_->view, html.c_str(), baseUrl ? baseUrl->c_str() : nullptr);
    return std::nullopt;
}

std::optional<ui::Navigation> DesktopWebView::reload() {
    prepareLoad();
    webkit_web_view_reload(engine_->view);
    return std::nullopt;
}

void DesktopWebView::stopLoading() {
    webkit_web_view_stop_loading(engine_->view);
}

void DesktopWebView::evaluateJavaScript(const std::string& script, ScriptCompletion completion) {
    auto* pending = new ScriptCompletion(std::move(completion));
    webkit_web_view_evaluate_javascript(
        engine_->view, script.c_str(), static_cast<gssize>(script.size()), nullptr, nullptr,
        nullptr,
        [](GObject* source, GAsyncResult* result, gpointer data) {
            std::unique_ptr<ScriptCompletion> done(static_cast<ScriptCompletion*>(data));
            GError* error = nullptr;
            JSCValue* value =
                webkit_web_view_evaluate_javascript_finish(WEBKIT_WEB_VIEW(source), result, &error);
            ui::ScriptResult outcome;
            if (value) {
                outcome.value = jsonOf(value);
                g_object_unref(value);
            } else {
                outcome.error = error && error->message ? error->message : "the script failed";
            }
            if (error) {
                g_error_free(error);
            }
            if (*done) {
                onMainQueue([completion = std::move(*done), outcome] { completion(outcome); });
            }
        },
        pending);
}

std::optional<std::string> DesktopWebView::userAgent() const {
    if (const auto& custom = customUserAgent()) {
        return custom;
    }
    const char* engineAgent =
        webkit_settings_get_user_agent(webkit_web_view_get_settings(engine_->view));
    return engineAgent ? std::optional<std::string>(engineAgent) : std::nullopt;
}

}  // namespace quillgate::desktop
