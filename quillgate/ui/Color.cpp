#include "quillgate/ui/Color.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace quillgate::ui {

namespace {
int hexDigit(char c) {
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    return -1;
}

int channel255(double v) {
    return static_cast<int>(std::lround(std::clamp(v, 0.0, 1.0) * 255.0));
}
}  // namespace

std::optional<Color> Color::fromHex(std::string_view text) {
    if (text.empty() || text.front() != '#') {
        return std::nullopt;
    }
    text.remove_prefix(1);
    if (text.size() != 3 && text.size() != 6 && text.size() != 8) {
        return std::nullopt;
    }
    int digits[8] = {};
    for (std::size_t i = 0; i < text.size(); ++i) {
        digits[i] = hexDigit(text[i]);
        if (digits[i] < 0) {
            return std::nullopt;
        }
    }
    if (text.size() == 3) {
        // "#RGB" repeats each digit: "#F80" is "#FF8800".
        return Color::rgb255(digits[0] * 17, digits[1] * 17, digits[2] * 17);
    }
    auto byte = [&](int i) { return digits[2 * i] * 16 + digits[2 * i + 1]; };
    double alpha = text.size() == 8 ? byte(3) / 255.0 : 1.0;
    return Color::rgb255(byte(0), byte(1), byte(2), alpha);
}

std::string Color::hex() const {
    char out[10];
    if (a >= 1.0) {
        std::snprintf(out, sizeof out, "#%02X%02X%02X", channel255(r), channel255(g),
                      channel255(b));
    } else {
        std::snprintf(out, sizeof out, "#%02X%02X%02X%02X", channel255(r), channel255(g),
                      channel255(b), channel255(a));
    }
    return out;
}

}  // namespace quillgate::ui
