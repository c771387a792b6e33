// The table of keywords; see TrackingLine.h.
#include "tracking/TrackingLine.h"

#include <locale.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>

namespace {

struct Keyword {
    char const* text;
    TrackingLineKind kind;
    int corner;
};

constexpr Keyword kKeywords[] = {
    {"Source Width", TrackingLineKind::kSourceWidth, 0},
    {"Source Height", TrackingLineKind::kSourceHeight, 0},
    {"Upper Left", TrackingLineKind::kCorner, 0},
    {"ADBE Corner Pin-0001", TrackingLineKind::kCorner, 0},
    {"Lower Left", TrackingLineKind::kCorner, 1},
    {"ADBE Corner Pin-0002", TrackingLineKind::kCorner, 1},
    {"Upper Right", TrackingLineKind::kCorner, 2},
    {"ADBE Corner Pin-0003", TrackingLineKind::kCorner, 2},
    {"Lower Right", TrackingLineKind::kCorner, 3},
    {"ADBE Corner Pin-0004", TrackingLineKind::kCorner, 3},
};

/// The user's locale may write 1,5; the file never does.
locale_t plainLocale() {
    static const locale_t plain = newlocale(LC_ALL_MASK, "C", nullptr);
    return plain;
}

bool isDigit(char c) { return c >= '0' && c <= '9'; }

/// The first integer in `text`, whatever stands before it.
void readSize(char const* text, TrackingLine& line) {
    while (*text && !isDigit(*text)) ++text;
    line.hasSize = isDigit(*text);
    if (!line.hasSize) return;
    if (text[-1] == '-') --text;  // a keyword ends before `text`, so there is a character
    long const value = std::strtol(text, nullptr, 10);
    line.size = static_cast<int>(
        std::clamp<long>(value, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()));
}

bool readSample(char const* text, TrackingLine& line) {
    const locale_t users = uselocale(plainLocale());
    int const numbers = std::sscanf(text, "%f %f %f", &line.frame, &line.x, &line.y);
    uselocale(users);
    return numbers == 3;
}

}  // namespace

TrackingLine readTrackingLine(char const* text) {
    TrackingLine line;
    for (Keyword const& keyword : kKeywords) {
        char const* const found = std::strstr(text, keyword.text);
        if (!found) continue;
        line.kind = keyword.kind;
        line.corner = keyword.corner;
        if (keyword.kind != TrackingLineKind::kCorner)
            readSize(found + std::strlen(keyword.text), line);
        return line;
    }
    if (readSample(text, line)) line.kind = TrackingLineKind::kSample;
    return line;
}
