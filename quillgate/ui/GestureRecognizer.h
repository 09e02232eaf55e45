#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

// Gesture recognisers attached to views. Only taps exist: a reader's tap (View::tap) fires
// the first enabled tap recogniser of the tapped view or of its nearest ancestor that has
// one. Each recogniser keeps its actions; a named action can be looked up by tests that
// check how a screen wired its labels. Main thread only.
namespace quillgate::ui {

class View;

class GestureRecognizer {
  public:
    using Action = std::function<void(GestureRecognizer&)>;

    GestureRecognizer() = default;
    explicit GestureRecognizer(Action action, std::string actionName = {});
    virtual ~GestureRecognizer() = default;

    virtual std::string className() const { return "GestureRecognizer"; }

    void addAction(Action action, std::string actionName = {});
    // Names of the actions, in the order they were added (unnamed ones as "").
    std::vector<std::string> actionNames() const;

    bool isEnabled() const { return enabled_; }
    void setEnabled(bool enabled) { enabled_ = enabled; }
    bool cancelsTouchesInView() const { return cancelsTouchesInView_; }
    void setCancelsTouchesInView(bool on) { cancelsTouchesInView_ = on; }
    std::shared_ptr<View> view() const { return view_.lock(); }

    // Runs every action, in order.
    void fire();

  private:
    friend class View;
    struct Entry {
        Action action;
        std::string name;
    };
    std::vector<Entry> actions_;
    bool enabled_ = true;
    bool cancelsTouchesInView_ = true;
    std::weak_ptr<View> view_;
};

class TapGestureRecognizer : public GestureRecognizer {
  public:
    using GestureRecognizer::GestureRecognizer;
    std::string className() const override { return "TapGestureRecognizer"; }
    int numberOfTapsRequired() const { return taps_; }
    void setNumberOfTapsRequired(int taps) { taps_ = taps; }

  private:
    int taps_ = 1;
};

}  // namespace quillgate::ui
