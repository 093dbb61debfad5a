#include "tools/generators/PanelLettering.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <numbers>
#include <optional>
#include <stdexcept>
#include <string_view>
#include <utility>
#include <vector>

namespace torvane::generators {
namespace {

constexpr double pi = std::numbers::pi;

// ---- Glyph strokes ----------------------------------------------------------------------

/// One step of a glyph's strokes, in grid units, as its text writes it:
///   M x y                   move to (x, y), starting a stroke;
///   L x y                   a line to (x, y);
///   C x1 y1 x2 y2 x y       a cubic Bézier curve to (x, y);
///   A cx cy rx ry a0 a1     an elliptic arc about (cx, cy) from angle a0 to a1 (degrees,
///                           counter-clockwise when a1 > a0), joined to the stroke so far;
///   E cx cy rx ry a0 a1     the same arc, starting a stroke of its own;
///   Z                       back to the stroke's start.
struct Step {
    char verb;
    std::array<double, 6> values{};
};

int operandsOf(char verb) {
    switch (verb) {
    case 'M':
    case 'L':
        return 2;
    case 'C':
    case 'A':
    case 'E':
        return 6;
    case 'Z':
        return 0;
    default:
        throw std::logic_error(std::string("glyph strokes: unknown step ") + verb);
    }
}

std::vector<Step> parseStrokes(std::string_view text) {
    std::vector<Step> steps;
    size_t at = 0;
    const auto skipSpace = [&] {
        while (at < text.size() && (text[at] == ' ' || text[at] == ',')) {
            ++at;
        }
    };
    for (skipSpace(); at < text.size(); skipSpace()) {
        Step step{text[at++]};
        for (int i = 0; i < operandsOf(step.verb); ++i) {
            skipSpace();
            const auto [end, error] =
                std::from_chars(text.data() + at, text.data() + text.size(), step.values[i]);
            if (error != std::errc()) {
                throw std::logic_error("glyph strokes: a number expected in \"" +
                                       std::string(text) + "\"");
            }
            at = static_cast<size_t>(end - text.data());
        }
        steps.push_back(step);
    }
    return steps;
}

/// An elliptic arc with cairo's circle, drawn in a scaled copy of the user space.
void arc(cairo_t* cairo, const Step& step, bool newStroke) {
    const auto& v = step.values;
    if (newStroke) {
        cairo_new_sub_path(cairo);
    }
    cairo_save(cairo);
    cairo_translate(cairo, v[0], v[1]);
    cairo_scale(cairo, v[2], v[3]);
    const double from = v[4] * pi / 180, to = v[5] * pi / 180;
    (to >= from ? cairo_arc : cairo_arc_negative)(cairo, 0, 0, 1, from, to);
    cairo_restore(cairo);
}

/// Adds the steps to the current path, moved `dx` grid units along x.
void addSteps(cairo_t* cairo, const std::vector<Step>& steps, double dx) {
    for (const auto& step : steps) {
        const auto& v = step.values;
        switch (step.verb) {
        case 'M':
            cairo_move_to(cairo, v[0] + dx, v[1]);
            break;
        case 'L':
            cairo_line_to(cairo, v[0] + dx, v[1]);
            break;
        case 'C':
            cairo_curve_to(cairo, v[0] + dx, v[1], v[2] + dx, v[3], v[4] + dx, v[5]);
            break;
        case 'A':
        case 'E': {
            Step moved = step;
            moved.values[0] += dx;
            arc(cairo, moved, step.verb == 'E');
            break;
        }
        case 'Z':
            cairo_close_path(cairo);
            break;
        }
    }
}

/// The characters of UTF-8 text (up to three bytes each, which covers what we print).
std::u32string decode(const std::string& text) {
    std::u32string result;
    for (size_t i = 0; i < text.size();) {
        const auto lead = static_cast<unsigned char>(text[i]);
        const size_t length = lead < 0x80                ? 1
                              : (lead & 0xe0) == 0xc0 ? 2
                              : (lead & 0xf0) == 0xe0 ? 3
                                                      : 0;
        if (length == 0 || i + length > text.size()) {
            throw std::invalid_argument("lettering: \"" + text + "\" is not UTF-8 we can set");
        }
        char32_t code = length == 1 ? lead : length == 2 ? lead & 0x1f : lead & 0x0f;
        for (size_t k = 1; k < length; ++k) {
            code = (code << 6) | (static_cast<unsigned char>(text[i + k]) & 0x3f);
        }
        result.push_back(code);
        i += length;
    }
    return result;
}

/// The glyph of `code` in a table of them; `face` names the table in the error.
template <class Glyph, size_t count>
const Glyph& glyphOf(const Glyph (&table)[count], char32_t code, const char* face) {
    for (const auto& glyph : table) {
        if (glyph.code == code) {
            return glyph;
        }
    }
    char name[16];
    std::snprintf(name, sizeof name, "U+%04X", static_cast<unsigned>(code));
    throw std::invalid_argument(std::string("lettering: the ") + face + " has no " + name);
}

// ---- Capitals ---------------------------------------------------------------------------

struct Capital {
    char32_t code;
    /// The pen track's extent across, and the space kept clear left and right of it.
    double width, left, right;
    const char* strokes;
};

// Side bearings follow the letters' sides: a straight stem keeps 1.0, a round side 0.75, an
// open or slanted side 0.25, so that the area between any two letters looks alike.
const Capital capitals[] = {
    {U' ', 3.2, 0, 0, ""},
    {U'-', 3.2, 0.7, 0.7, "M0 4.4 L3.2 4.4"},
    {U'×', 4.2, 0.6, 0.6, "M0 2.3 L4.2 6.5 M0 6.5 L4.2 2.3"},
    {U'0', 5.8, 0.75, 0.75, "E2.9 5 2.9 5.15 0 360"},
    {U'1', 2.6, 0.9, 1.0, "M0 7.8 L2.6 10 L2.6 0"},
    {U'2', 5.8, 0.6, 0.6,
     "M0.3 7.5 C0.5 9.1 1.6 10.15 3 10.15 C4.6 10.15 5.6 9 5.6 7.5 C5.6 5.4 3.2 3.6 0 0 L5.8 0"},
    {U'3', 5.8, 0.6, 0.7,
     "M0.2 8.6 C0.8 9.6 1.8 10.15 2.9 10.15 C4.4 10.15 5.4 9.2 5.4 7.7 C5.4 6.2 4.3 5.3 2.6 5.3"
     " C4.6 5.3 5.8 4.2 5.8 2.6 C5.8 0.9 4.5 -0.15 2.9 -0.15 C1.6 -0.15 0.6 0.5 0 1.5"},
    {U'4', 6.0, 0.3, 0.5, "M4.4 0 L4.4 10 L0 3 L6 3"},
    {U'5', 5.9, 0.6, 0.7,
     "M5.4 10 L0.9 10 L0.5 5.7 C1.3 6.3 2.2 6.6 3.1 6.6 C4.8 6.6 5.9 5.3 5.9 3.3"
     " C5.9 1.2 4.6 -0.15 2.9 -0.15 C1.6 -0.15 0.6 0.5 0 1.5"},
    {U'6', 5.9, 0.75, 0.7,
     "M5.3 9.1 C4.8 9.8 4 10.15 3.1 10.15 C1.1 10.15 0 7.9 0 4.8 L0 3.3"
     " E2.95 3.3 2.95 3.45 0 360"},
    {U'7', 5.8, 0.4, 0.3, "M0 10 L5.8 10 L1.9 0"},
    {U'8', 5.8, 0.7, 0.7, "E2.9 7.65 2.5 2.5 0 360 E2.9 2.6 2.9 2.75 0 360"},
    {U'9', 5.9, 0.7, 0.75,
     "M0.6 0.9 C1.1 0.2 1.9 -0.15 2.8 -0.15 C4.8 -0.15 5.9 2.1 5.9 5.2 L5.9 6.7"
     " E2.95 6.7 2.95 3.45 0 360"},
    {U'A', 7.6, 0.25, 0.25, "M0 0 L3.8 10 L7.6 0 M1.3 3.3 L6.3 3.3"},
    {U'B', 6.2, 1.0, 0.7,
     "M0 5.3 L3.6 5.3 A3.6 2.65 2.6 2.65 90 -90 L0 0 L0 10 L3.3 10 A3.3 7.65 2.2 2.35 90 -90"},
    {U'C', 6.9, 0.75, 0.35, "E3.9 5 3.9 5.15 40 320"},
    {U'D', 7.0, 1.0, 0.75, "M0 0 L0 10 L2.6 10 A2.6 5 4.4 5 90 -90 Z"},
    {U'E', 5.6, 1.0, 0.35, "M5.6 10 L0 10 L0 0 L5.6 0 M0 5.2 L4.9 5.2"},
    {U'F', 5.4, 1.0, 0.25, "M5.4 10 L0 10 L0 0 M0 5.2 L4.7 5.2"},
    {U'G', 8.0, 0.75, 0.9, "E4 5 4 5.15 42 360 L4.6 5"},
    {U'H', 6.6, 1.0, 1.0, "M0 0 L0 10 M6.6 0 L6.6 10 M0 5.2 L6.6 5.2"},
    {U'I', 0.0, 1.0, 1.0, "M0 0 L0 10"},
    {U'J', 4.8, 0.3, 1.0, "M4.8 10 L4.8 2.8 A2.4 2.8 2.4 2.95 0 -165"},
    {U'K', 6.2, 1.0, 0.25, "M0 0 L0 10 M6 10 L0 3.4 M2.3 5.9 L6.2 0"},
    {U'L', 5.2, 1.0, 0.25, "M0 10 L0 0 L5.2 0"},
    {U'M', 8.4, 1.0, 1.0, "M0 0 L0 10 L4.2 1.6 L8.4 10 L8.4 0"},
    {U'N', 6.8, 1.0, 1.0, "M0 0 L0 10 L6.8 0 L6.8 10"},
    {U'O', 8.4, 0.75, 0.75, "E4.2 5 4.2 5.15 0 360"},
    {U'P', 6.0, 1.0, 0.45, "M0 0 L0 10 L3.5 10 A3.5 7.4 2.5 2.6 90 -90 L0 4.8"},
    {U'Q', 8.4, 0.75, 0.6, "E4.2 5 4.2 5.15 0 360 M5.2 2.6 L8.4 -0.8"},
    {U'R', 6.3, 1.0, 0.3, "M0 0 L0 10 L3.5 10 A3.5 7.4 2.5 2.6 90 -90 L0 4.8 M3.1 4.8 L6.3 0"},
    {U'S', 6.0, 0.6, 0.6,
     "M5.7 8.5 C5.2 9.5 4.2 10.15 3 10.15 C1.4 10.15 0.3 9.2 0.3 7.7 C0.3 4.8 6 5.6 6 2.6"
     " C6 0.9 4.7 -0.15 3 -0.15 C1.5 -0.15 0.4 0.6 0 1.6"},
    {U'T', 6.4, 0.25, 0.25, "M0 10 L6.4 10 M3.2 10 L3.2 0"},
    {U'U', 6.4, 1.0, 1.0, "M0 10 L0 3.3 A3.2 3.3 3.2 3.45 180 360 L6.4 10"},
    {U'V', 7.2, 0.25, 0.25, "M0 10 L3.6 0 L7.2 10"},
    {U'W', 10.4, 0.25, 0.25, "M0 10 L2.6 0 L5.2 10 L7.8 0 L10.4 10"},
    {U'X', 6.8, 0.25, 0.25, "M0 10 L6.8 0 M0 0 L6.8 10"},
    {U'Y', 7.0, 0.25, 0.25, "M0 10 L3.5 5 L7 10 M3.5 5 L3.5 0"},
    {U'Z', 6.2, 0.45, 0.45, "M0 10 L6.2 10 L0 0 L6.2 0"},
};

/// Pairs whose shapes leave a hole between them, and how much closer they sit, grid units.
struct Kern {
    char32_t first, second;
    double by;
};

const Kern kerns[] = {
    {U'A', U'T', -0.9}, {U'T', U'A', -0.9}, {U'A', U'V', -0.9}, {U'V', U'A', -0.9},
    {U'A', U'W', -0.7}, {U'W', U'A', -0.7}, {U'A', U'Y', -0.9}, {U'Y', U'A', -0.9},
    {U'L', U'T', -1.4}, {U'L', U'V', -1.2}, {U'L', U'W', -1.0}, {U'L', U'Y', -1.3},
    {U'P', U'A', -0.9}, {U'F', U'A', -0.7}, {U'T', U'O', -0.4}, {U'O', U'T', -0.4},
    {U'V', U'O', -0.3}, {U'O', U'V', -0.3}, {U'A', U'C', -0.3}, {U'A', U'O', -0.3},
    {U'A', U'G', -0.3}, {U'A', U'Q', -0.3}, {U'A', U'U', -0.2}, {U'U', U'A', -0.2},
    {U'T', U'C', -0.3}, {U'T', U'G', -0.3},
};

const Capital& capitalOf(char32_t code) { return glyphOf(capitals, code, "capitals"); }

double kerning(char32_t first, char32_t second) {
    for (const auto& kern : kerns) {
        if (kern.first == first && kern.second == second) {
            return kern.by;
        }
    }
    return 0.0;
}

/// Where each letter of a line of capitals goes: its grid's origin, in pixels from the left
/// edge of the first letter's ink.
struct CapitalLayout {
    /// The pen's width, pixels, and pixels per grid unit.
    double pen;
    double scale;
    std::vector<double> origins;
    double width;
};

CapitalLayout layOut(const std::u32string& text, const CapitalStyle& style) {
    CapitalLayout layout;
    layout.pen = style.weight > 0.0 ? style.weight : 0.17 * style.capHeight;
    layout.scale = (style.capHeight - layout.pen) / 10.0;
    const double s = layout.scale, halfPen = layout.pen / 2;
    double cursor = text.empty() ? 0.0 : -s * capitalOf(text[0]).left;
    for (size_t i = 0; i < text.size(); ++i) {
        const Capital& capital = capitalOf(text[i]);
        const double origin = cursor + s * capital.left + halfPen;
        layout.origins.push_back(origin);
        layout.width = origin + s * capital.width + halfPen;
        cursor = layout.width + s * capital.right + style.tracking;
        if (i + 1 < text.size()) {
            cursor += s * kerning(text[i], text[i + 1]);
        }
    }
    return layout;
}

double alignedLeft(double x, double width, Align align) {
    return align == Align::left ? x : align == Align::centre ? x - width / 2 : x - width;
}

// ---- Script -----------------------------------------------------------------------------

struct ScriptLetter {
    char32_t code;
    /// Where the next letter's grid starts.
    double advance;
    /// The stroke joined to its neighbours (M, L and C only; empty for a letter that stands
    /// alone), and strokes of its own.
    const char* track;
    const char* extra;
};

const ScriptLetter scriptLetters[] = {
    {U'T', 13.0, "",
     "M1.6 18.4 C0.2 19.8 1 22.6 4.2 22.6 C8.4 22.6 12 21.2 16.4 20.9"
     " C20.4 20.6 23.6 21.6 26.6 23.1"
     " M12.2 21 C11.6 14 11 7 10 3 C9.2 0.2 6.4 -0.8 4.2 0 C2.8 0.6 2.6 2.4 4 3"},
    {U'o', 10.5,
     "M5.4 9.9 C2.6 10.3 0.2 7.8 0.2 4.6 C0.2 1.6 2 -0.2 4.2 -0.2 C6.6 -0.2 8.4 2.2 8.4 5.2"
     " C8.4 8 7 9.8 5 9.9 C3.8 10 4 8.8 5.4 8.8 C7.2 8.8 9 9.2 10.6 9.8",
     ""},
    {U'r', 8.5,
     "M0.6 9.2 C1.4 10.2 2.6 10.5 3 9.6 C3 6.5 2.8 3 2.6 0 C2.8 3.6 3.6 7 5.2 8.8"
     " C6.2 10 7.8 10.3 8.8 9.6",
     ""},
    {U'v', 11.0,
     "M0.4 8.8 C0.9 9.8 2 10.4 2.8 9.8 C3.6 9.2 3.6 6 4.2 3.8 C4.6 2.2 5 0.8 5.6 0"
     " C7.2 2.4 8.8 6 9.4 9.6 C9.5 10.5 8.4 10.3 8.6 9.2 C8.8 8.4 10.4 8.6 11.8 9.6",
     ""},
    {U'a', 11.0,
     "M2.4 9.7 C4.2 10.3 6.8 10.2 8 9.6 C8 6.6 7.6 3 7.8 1.4 C8 0 9 -0.4 9.8 0.2"
     " C10.4 0.6 10.8 1.2 11.2 2",
     "E4 5 3.9 5.05 0 360"},
    {U'n', 11.5,
     "M1.2 9.4 C1.6 10 2.4 10.4 2.6 9.8 C2.8 7 2.6 3 2.4 0 C2.6 3.6 3.4 7 5.2 9"
     " C6.4 10.2 8.6 10.4 8.8 8.4 C9 6 8.4 3 8.6 1.2 C8.8 0 9.6 -0.3 10.4 0.3"
     " C10.8 0.7 11.2 1.3 11.6 2",
     ""},
    {U'e', 9.0,
     "M0.4 3.6 C3.4 4.2 6.6 5.8 6.6 8 C6.6 9.5 5.4 10.2 4.3 10 C2 9.6 0.2 6.6 0.2 3.8"
     " C0.2 1.2 2 -0.3 4 -0.2 C5.6 -0.1 7 0.8 8.2 2.2",
     ""},
};

const ScriptLetter& scriptLetterOf(char32_t code) {
    return glyphOf(scriptLetters, code, "script");
}

struct Point {
    double x, y;
};

Point operator+(Point a, Point b) { return {a.x + b.x, a.y + b.y}; }
Point operator-(Point a, Point b) { return {a.x - b.x, a.y - b.y}; }
Point operator*(Point a, double k) { return {a.x * k, a.y * k}; }
double length(Point a) { return std::hypot(a.x, a.y); }
Point unit(Point a) { return a * (1.0 / length(a)); }

Point endOf(const Step& step) {
    const auto& v = step.values;
    return step.verb == 'C' ? Point{v[4], v[5]} : Point{v[0], v[1]};
}

/// The track's first point and the unit direction it leaves in.
std::pair<Point, Point> trackStart(const std::vector<Step>& track) {
    const Point start{track[0].values[0], track[0].values[1]};
    const Point towards{track[1].values[0], track[1].values[1]};
    return {start, unit(towards - start)};
}

/// The track's last point and the unit direction it arrives in.
std::pair<Point, Point> trackEnd(const std::vector<Step>& track) {
    const Step& last = track.back();
    const Point end = endOf(last);
    const Point from = last.verb == 'C' ? Point{last.values[2], last.values[3]}
                                        : endOf(track[track.size() - 2]);
    return {end, unit(end - from)};
}

std::vector<Step> parseTrack(const char* text) {
    auto track = parseStrokes(text);
    if (!track.empty() && (track.size() < 2 || track[0].verb != 'M')) {
        throw std::logic_error(std::string("script track must start with M: ") + text);
    }
    return track;
}

/// Where a word's joined track ends and the way it leaves, and where its first one begins.
struct WordEnds {
    Point end{0, 0}, leaving{1, 0};
    std::optional<double> firstTrackX;
};

/// Adds the word's strokes in grid units (x-height 10), its first letter's grid at x = 0.
WordEnds addScriptWord(cairo_t* cairo, const std::u32string& word) {
    double origin = 0.0;
    bool joining = false;
    WordEnds ends;
    for (const char32_t code : word) {
        const ScriptLetter& letter = scriptLetterOf(code);
        auto track = parseTrack(letter.track);
        if (track.empty()) {
            joining = false;
        } else {
            const auto [start, arriving] = trackStart(track);
            const auto [last, direction] = trackEnd(track);
            const Point to = start + Point{origin, 0};
            if (joining) {
                // The join leaves along the last letter's tangent and arrives along this
                // one's, each handle 0.4 of the gap (at least a unit).
                const double reach = std::max(length(to - ends.end) * 0.4, 1.0);
                const Point a = ends.end + ends.leaving * reach, b = to - arriving * reach;
                // From the last track's end: a letter's own strokes may have moved away.
                cairo_move_to(cairo, ends.end.x, ends.end.y);
                cairo_curve_to(cairo, a.x, a.y, b.x, b.y, to.x, to.y);
                track.erase(track.begin());
            } else if (!ends.firstTrackX) {
                ends.firstTrackX = to.x;
            }
            addSteps(cairo, track, origin);
            ends.end = last + Point{origin, 0};
            ends.leaving = direction;
            joining = true;
        }
        addSteps(cairo, parseStrokes(letter.extra), origin);
        origin += letter.advance;
    }
    return ends;
}

/// The last letter's exit run on: it turns over and comes back under the word, flattening
/// out as it goes, to end under the first joined letter.
void addSwash(cairo_t* cairo, const WordEnds& ends) {
    const Point e = ends.end, turn = e + ends.leaving * 3.4;
    const Point bottom{e.x - 0.8, -3.3};
    const double home = ends.firstTrackX.value_or(0.0) + 2.0;
    cairo_move_to(cairo, e.x, e.y);
    cairo_curve_to(cairo, turn.x, turn.y, e.x + 4.2, -3.2, bottom.x, bottom.y);
    cairo_curve_to(cairo, bottom.x - 0.4 * (bottom.x - home), -3.6, home + 6.0, -3.4, home, -2.2);
}

} // namespace

void printCapitals(cairo_t* cairo, const std::string& text, double x, double baseline,
                   const CapitalStyle& style, Align align) {
    const auto letters = decode(text);
    const CapitalLayout layout = layOut(letters, style);
    const double left = alignedLeft(x, layout.width, align);
    cairo_new_path(cairo);
    for (size_t i = 0; i < letters.size(); ++i) {
        cairo_save(cairo);
        cairo_translate(cairo, left + layout.origins[i], baseline - layout.pen / 2);
        cairo_scale(cairo, layout.scale, -layout.scale);
        addSteps(cairo, parseStrokes(capitalOf(letters[i]).strokes), 0.0);
        cairo_restore(cairo);
    }
    cairo_save(cairo);
    cairo_set_line_width(cairo, layout.pen);
    cairo_set_line_cap(cairo, CAIRO_LINE_CAP_ROUND);
    cairo_set_line_join(cairo, CAIRO_LINE_JOIN_ROUND);
    cairo_stroke(cairo);
    cairo_restore(cairo);
}

void scriptPath(cairo_t* cairo, const std::string& word, double x, double baseline,
                double xHeight, double slantDegrees, Align align, bool underline) {
    const auto letters = decode(word);
    const auto build = [&](double left) {
        cairo_new_path(cairo);
        cairo_save(cairo);
        cairo_translate(cairo, left, baseline);
        cairo_scale(cairo, xHeight / 10.0, -xHeight / 10.0);
        cairo_matrix_t slant;
        cairo_matrix_init(&slant, 1, 0, std::tan(slantDegrees * pi / 180), 1, 0, 0);
        cairo_transform(cairo, &slant);
        const WordEnds ends = addScriptWord(cairo, letters);
        if (underline) {
            addSwash(cairo, ends);
        }
        cairo_restore(cairo);
    };
    build(0.0);
    double x1, y1, x2, y2;
    cairo_path_extents(cairo, &x1, &y1, &x2, &y2);
    build(alignedLeft(x, x2 - x1, align) - x1);
}

void strokeWithPenPreserve(cairo_t* cairo, const ScriptPen& pen) {
    cairo_save(cairo);
    cairo_rotate(cairo, -pen.angle * pi / 180);
    cairo_scale(cairo, 1.0, pen.minor / pen.major);
    cairo_set_line_width(cairo, pen.major);
    cairo_set_line_cap(cairo, CAIRO_LINE_CAP_ROUND);
    cairo_set_line_join(cairo, CAIRO_LINE_JOIN_ROUND);
    cairo_stroke_preserve(cairo);
    cairo_restore(cairo);
}

void strokeWithPen(cairo_t* cairo, const ScriptPen& pen) {
    strokeWithPenPreserve(cairo, pen);
    cairo_new_path(cairo);
}

} // namespace torvane::generators
