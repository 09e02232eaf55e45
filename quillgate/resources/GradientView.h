#pragma once

#include <string>

#include "quillgate/ui/View.h"

// A soft radial wash behind a screen's content: four colours from white at the top centre
// through pale pink to rose, centred on the middle of the top edge and reaching down to 200
// points above the bottom; everything beyond takes the last colour. Main thread only.
namespace quillgate {

class GradientView : public ui::View {
  public:
    GradientView() = default;
    explicit GradientView(ui::Rect frame) : View(frame) {}

    std::string className() const override { return "GradientView"; }

    ui::Color color1 = ui::Color::white();
    ui::Color color2 = ui::Color::rgba(1.0, 0.91, 1.0);
    ui::Color color3 = ui::Color::rgba(1.0, 0.81, 0.91);
    ui::Color color4 = ui::Color::rgba(0.97, 0.64, 0.69);

    // Where each colour stands along the radius.
    static constexpr double kLocations[4] = {0.0, 0.3, 0.9, 1.0};

    // The radius of the gradient's end circle for a view of this height: height - 200.
    static double endRadius(double height) { return height - 200; }

    void draw(platform::Canvas& canvas, const ui::Rect& rect) override;
};

}  // namespace quillgate
