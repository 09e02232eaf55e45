// Measuring text with Pango: a screen's worth of labels (300 labels of about 60 characters,
// in the faces screens use), as a layout pass measures them at a phone's content width, each
// pass at a width of its own so that every label is laid out anew; the same again at one
// width, as later passes over an unchanged screen find their measurements kept; and the
// latter through the view toolkit (a label's fitting size, with its conversion to a block).
#include <benchmark/benchmark.h>

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "quillgate/platform/Platform.h"
#include "quillgate/platform/linux/FontconfigFontSystem.h"
#include "quillgate/platform/linux/PangoTextLayout.h"
#include "quillgate/ui/Label.h"

namespace {

using quillgate::platform::FontWeight;
using quillgate::platform::TextBlock;
using quillgate::platform::TextFont;
using quillgate::platform::TextRun;

const char* const kLines[] = {
    "Subscribe for unlimited, uninterrupted and easy digital access",
    "Already a subscriber? Sign in to keep reading this article now",
    "Get the best of our journalism on every device, cancel anytime",
    "Your free articles this month have run out: choose a plan today",
    "Support independent reporting from just a few cents every week",
    "Ad-free reading, the daily newsletter and the full archive too",
};

std::vector<TextBlock> screenOfBlocks() {
    const TextFont faces[] = {{"Roboto-Bold", 22, FontWeight::regular},
                              {"Roboto-Regular", 15, FontWeight::regular},
                              {"", 17, FontWeight::semibold},
                              {"", 13, FontWeight::regular}};
    std::vector<TextBlock> blocks;
    for (int i = 0; i < 300; ++i) {
        TextBlock block;
        // A number keeps the texts apart, as on a real screen.
        block.text = std::string(kLines[i % 6]) + " " + std::to_string(i);
        TextRun run;
        run.length = block.text.size();
        run.font = faces[i % 4];
        block.runs.push_back(run);
        blocks.push_back(std::move(block));
    }
    return blocks;
}

void BM_PangoMeasureScreenOfLabelsAfresh(benchmark::State& state) {
    quillgate::platform::PangoTextLayout layout;
    const auto blocks = screenOfBlocks();
    int pass = 0;
    for (auto _ : state) {
        // A hair narrower each pass: the lines break as before, but nothing kept fits.
        const double width = 358 - static_cast<double>(++pass % 1024) / 1024;
        double height = 0;
        for (const auto& block : blocks) {
            height += layout.measure(block, width).height;
        }
        benchmark::DoNotOptimize(height);
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(blocks.size()));
}
BENCHMARK(BM_PangoMeasureScreenOfLabelsAfresh)->Unit(benchmark::kMillisecond);

void BM_PangoMeasureScreenOfLabels(benchmark::State& state) {
    quillgate::platform::PangoTextLayout layout;
    const auto blocks = screenOfBlocks();
    for (auto _ : state) {
        double height = 0;
        for (const auto& block : blocks) {
            height += layout.measure(block, 358).height;
        }
        benchmark::DoNotOptimize(height);
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(blocks.size()));
}
BENCHMARK(BM_PangoMeasureScreenOfLabels)->Unit(benchmark::kMillisecond);

void BM_LabelFittingSizesScreenOfLabels(benchmark::State& state) {
    quillgate::platform::install(quillgate::platform::makeLinuxPlatform(
        std::filesystem::temp_directory_path() / "quillgate-bench"));
    std::vector<std::shared_ptr<quillgate::ui::Label>> labels;
    for (const auto& block : screenOfBlocks()) {
        auto label = std::make_shared<quillgate::ui::Label>(block.text);
        label->setNumberOfLines(0);
        labels.push_back(std::move(label));
    }
    for (auto _ : state) {
        double height = 0;
        for (const auto& label : labels) {
            height += label->sizeThatFits({358, 0}).height;
        }
        benchmark::DoNotOptimize(height);
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(labels.size()));
    labels.clear();
    quillgate::platform::resetProcessState();
}
BENCHMARK(BM_LabelFittingSizesScreenOfLabels)->Unit(benchmark::kMillisecond);

}  // namespace
