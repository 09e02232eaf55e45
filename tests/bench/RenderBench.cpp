// Drawing a phone screen's view tree to pixels: about three hundred views (rounded, bordered
// cards with labels and buttons) on a 390 x 844 point window at scale 2, as `read --snapshot`
// and the demo's pictures do.
#include <benchmark/benchmark.h>

#include <unistd.h>
#include <filesystem>
#include <memory>
#include <string>

#include "quillgate/platform/Platform.h"
#include "quillgate/ui/Button.h"
#include "quillgate/ui/Label.h"
#include "quillgate/ui/Renderer.h"
#include "quillgate/ui/View.h"

namespace {

using namespace quillgate;

std::shared_ptr<ui::View> screen() {
    auto root = std::make_shared<ui::View>(ui::Rect(0, 0, 390, 844));
    root->setBackgroundColor(ui::Color::white());
    constexpr int kRows = 24;
    constexpr double kRowHeight = 844.0 / kRows;
    for (int row = 0; row < kRows; ++row) {
        for (int column = 0; column < 2; ++column) {
            auto card = std::make_shared<ui::View>(
                ui::Rect(8 + column * 191, row * kRowHeight + 2, 183, kRowHeight - 4));
            card->setBackgroundColor(ui::Color::rgb255(246, 244, 240));
            card->layer().cornerRadius = 8;
            card->layer().borderWidth = 1;
            card->layer().borderColor = ui::Color::rgb255(200, 196, 190);
            card->setClipsToBounds(true);

            auto title = std::make_shared<ui::Label>("Unlimited digital access " +
                                                     std::to_string(row * 2 + column));
            title->setFrame(ui::Rect(8, 2, 110, 16));
            title->setFont(ui::Font::boldSystem(11));
            auto detail = std::make_shared<ui::Label>("Cancel any time, read on every device");
            detail->setFrame(ui::Rect(8, 18, 110, 14));
            detail->setFont(ui::Font::system(9));
            detail->setTextColor(ui::Color::darkGray());
            auto buy = std::make_shared<ui::Button>(ui::Rect(124, 6, 52, kRowHeight - 16));
            buy->setTitle("Buy");
            buy->setTitleColor(ui::Color::white());
            buy->setBackgroundColor(ui::Color::systemBlue());
            buy->layer().cornerRadius = 6;
            auto badge = std::make_shared<ui::View>(ui::Rect(170, 2, 8, 8));
            badge->setBackgroundColor(ui::Color::systemRed());
            badge->layer().cornerRadius = 4;
            card->addSubview(title);
            card->addSubview(detail);
            card->addSubview(buy);
            card->addSubview(badge);
            root->addSubview(card);
        }
    }
    return root;
}

int countViews(const ui::View& view) {
    int n = 1;
    for (const auto& sub : view.subviews()) {
        n += countViews(*sub);
    }
    return n;
}

void BM_RenderScreenAtScale2(benchmark::State& state) {
    const auto dir = std::filesystem::temp_directory_path() /
                     ("quillgate-render-bench-" + std::to_string(::getpid()));
    platform::install(platform::makeLinuxPlatform(dir));
    const auto root = screen();
    for (auto _ : state) {
        auto picture = ui::renderPicture(*root, 2);
        benchmark::DoNotOptimize(picture->pixel(100, 100));
    }
    state.counters["views"] = countViews(*root);
    platform::resetProcessState();
    std::filesystem::remove_all(dir);
}
BENCHMARK(BM_RenderScreenAtScale2)->Unit(benchmark::kMillisecond);

}  // namespace
