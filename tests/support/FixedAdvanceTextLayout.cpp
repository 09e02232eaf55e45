#include "tests/support/FixedAdvanceTextLayout.h"

#include <algorithm>
#include <vector>

namespace quillgate::testing {

namespace {

struct Character {
    bool space = false;
    bool newline = false;
    double size = 0;
};

struct Line {
    double width = 0;
    double size = 0;  // largest font size on the line
};

std::vector<Character> characters(const platform::TextBlock& block) {
    std::vector<Character> out;
    const std::string& text = block.text;
    std::size_t run = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto byte = static_cast<unsigned char>(text[i]);
        if ((byte & 0xC0) == 0x80) {
            continue;  // a continuation byte of the character before
        }
        while (run < block.runs.size() && block.runs[run].location + block.runs[run].length <= i) {
            ++run;
        }
        const bool covered = run < block.runs.size() && block.runs[run].location <= i;
        Character c;
        c.size = covered ? block.runs[run].font.size : platform::TextFont{}.size;
        c.space = byte == ' ';
        c.newline = byte == '\n';
        out.push_back(c);
    }
    return out;
}

}  // namespace

platform::TextMetrics FixedAdvanceTextLayout::measure(const platform::TextBlock& block,
                                                      double width) {
    ++measurements;
    if (block.text.empty()) {
        return {};
    }
    const auto chars = characters(block);
    const bool limited = width > 0;
    const auto advance = [](const Character& c) { return c.size * kAdvance; };

    std::vector<Line> lines;
    std::size_t i = 0;
    while (true) {
        // One paragraph, up to a newline or the end.
        Line line;
        bool empty = true;
        double pendingSpaces = 0;
        double pendingSize = 0;
        const auto place = [&](double w, double size) {
            line.width += w;
            line.size = std::max(line.size, size);
            empty = false;
        };
        const auto breakLine = [&] {
            lines.push_back(line);
            line = Line{};
            empty = true;
            pendingSpaces = 0;
        };
        while (i < chars.size() && !chars[i].newline) {
            if (chars[i].space) {
                pendingSpaces += advance(chars[i]);
                pendingSize = std::max(pendingSize, chars[i].size);
                ++i;
                continue;
            }
            // A word: the characters up to the next space or newline.
            std::size_t end = i;
            double wordWidth = 0;
            double wordSize = 0;
            while (end < chars.size() && !chars[end].space && !chars[end].newline) {
                wordWidth += advance(chars[end]);
                wordSize = std::max(wordSize, chars[end].size);
                ++end;
            }
            if (!empty && (!limited || line.width + pendingSpaces + wordWidth <= width)) {
                place(pendingSpaces + wordWidth, wordSize);
                pendingSpaces = 0;
            } else {
                if (!empty) {
                    breakLine();
                }
                if (!limited || wordWidth <= width) {
                    place(wordWidth, wordSize);
                } else {
                    // Too long for any line: broken between characters.
                    for (std::size_t k = i; k < end; ++k) {
                        if (!empty && line.width + advance(chars[k]) > width) {
                            breakLine();
                        }
                        place(advance(chars[k]), chars[k].size);
                    }
                }
                pendingSpaces = 0;
            }
            i = end;
        }
        if (empty) {
            // An empty paragraph (or one of spaces) is one line of the size at that place.
            const double size = i < chars.size()  ? chars[i].size
                                : pendingSize > 0 ? pendingSize
                                                  : chars.back().size;
            line.size = std::max(line.size, size);
        }
        lines.push_back(line);
        if (i >= chars.size()) {
            break;
        }
        ++i;  // the newline
        if (i >= chars.size()) {
            // A text that ends with a newline has an empty last line.
            lines.push_back(Line{0, chars.back().size});
            break;
        }
    }

    bool cut = false;
    if (block.maxLines > 0 && static_cast<int>(lines.size()) > block.maxLines) {
        lines.resize(static_cast<std::size_t>(block.maxLines));
        cut = true;
    }
    const bool truncates = block.lineBreak == platform::LineBreak::byTruncatingHead ||
                           block.lineBreak == platform::LineBreak::byTruncatingMiddle ||
                           block.lineBreak == platform::LineBreak::byTruncatingTail;
    if (cut && truncates && limited) {
        lines.back().width = width;
    }
    platform::TextMetrics metrics;
    for (const Line& line : lines) {
        metrics.width = std::max(metrics.width, line.width);
        metrics.height += line.size * kLineHeight;
    }
    metrics.lineCount = static_cast<int>(lines.size());
    return metrics;
}

}  // namespace quillgate::testing
