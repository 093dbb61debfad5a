// panelart OUTPUT_DIR
//
// Draws the amplifier panel's pictures with cairo and writes them into OUTPUT_DIR as PNG:
//   torvane.png              1000 × 400, the panel: black tolex, a grille cloth with the
//                            name plate, a brushed-aluminium control plate with the controls'
//                            names, scales and position words, screws, a pilot light;
//   fender-chicken.png       66 × 6666, the knob: 101 frames of 66 × 66, a black pointer knob
//                            turned from −150° to +150° (0 at twelve o'clock, clockwise);
//   HorizontalSwitch-3P.png  40 × 60, a three-way toggle: lever left, centre, right;
//   VerticalSwitch.png       20 × 80, a two-way toggle: lever up (value 0), down (value 1);
//   donate.png               92 × 52, the donate button: raised above, pressed below.
// Where each control sits, and its name, come from the amplifier's own document, so the
// printing lines up with the widgets. The lettering is our own (PanelLettering.h): no font is
// read. Textures come from fixed seeds; a run writes the same pixels every time with the same
// cairo.

#include "amp/AmplifierDocument.h"
#include "tools/generators/PanelDrawing.h"
#include "tools/generators/PanelLettering.h"

#include <pugixml.hpp>

#include <cctype>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <functional>
#include <map>
#include <stdexcept>
#include <string>

namespace {

using namespace torvane::generators;
constexpr double pi = std::numbers::pi;

constexpr int panelWidth = 1000;
constexpr int panelHeight = 400;
constexpr int knobSize = 66;
constexpr int knobFrames = 101;
/// The knob's sweep, each side of twelve o'clock.
constexpr double halfSweep = 150.0 * pi / 180.0;

/// Where the grille cloth and the control plate lie on the panel.
constexpr double grilleLeft = 34, grilleTop = 26, grilleRight = 966, grilleBottom = 204;
constexpr double plateLeft = 26, plateTop = 222, plateRight = 974, plateBottom = 380;

/// A control of the document, as the panel shows it.
struct PanelControl {
    std::string name;
    std::string displayName;
    std::string type;
    double x, y, width, height;

    double centreX() const { return x + width / 2; }
    double centreY() const { return y + height / 2; }
};

std::vector<PanelControl> documentControls() {
    pugi::xml_document document;
    const std::string text(torvane::amplifierDocument);
    if (!document.load_string(text.c_str())) {
        throw std::runtime_error("the amplifier document does not parse");
    }
    std::vector<PanelControl> controls;
    for (const auto& found : document.select_nodes("/System/Controls/Control")) {
        const auto control = found.node();
        const auto ui = control.child("UIProperties");
        controls.push_back({control.attribute("Name").value(),
                            control.attribute("DisplayName").value(),
                            ui.attribute("ControlType").value(), ui.attribute("X").as_double(),
                            ui.attribute("Y").as_double(), ui.attribute("Width").as_double(),
                            ui.attribute("Height").as_double()});
    }
    return controls;
}

std::string upperCase(std::string text) {
    for (auto& c : text) {
        c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    }
    return text;
}

void writePng(cairo_surface_t* surface, const std::filesystem::path& path) {
    if (cairo_surface_write_to_png(surface, path.c_str()) != CAIRO_STATUS_SUCCESS) {
        throw std::runtime_error("cannot write " + path.string());
    }
    std::printf("%s %dx%d\n", path.filename().c_str(), cairo_image_surface_get_width(surface),
                cairo_image_surface_get_height(surface));
}

/// Draws into a new picture of the given size, transparent unless `opaque`, and writes it. An
/// opaque picture is written without an alpha channel, which is also quicker to decode.
void drawPicture(const std::filesystem::path& path, int width, int height,
                 const std::function<void(cairo_t*)>& draw, bool opaque = false) {
    cairo_surface_t* surface = cairo_image_surface_create(
        opaque ? CAIRO_FORMAT_RGB24 : CAIRO_FORMAT_ARGB32, width, height);
    cairo_t* cairo = cairo_create(surface);
    draw(cairo);
    cairo_destroy(cairo);
    writePng(surface, path);
    cairo_surface_destroy(surface);
}

// ---- The panel --------------------------------------------------------------------------

/// Black tolex: a pebbled grain from two scales of noise, lit from above.
cairo_surface_t* tolex() {
    const ValueNoise pebbles(panelWidth, panelHeight, 2.6, 11);
    const ValueNoise patches(panelWidth, panelHeight, 9.0, 12);
    torvane::demo::Random speckle(13);
    return shadedSurface(panelWidth, panelHeight, [&](int x, int y) {
        const double light = 0.115 - 0.035 * y / panelHeight;
        const double grain = 0.028 * pebbles.at(x, y) + 0.012 * patches.at(x, y) +
                             0.006 * speckle.bipolar();
        const double v = light + grain + (pebbles.at(x, y) > 0.55 ? 0.03 : 0.0);
        return Colour{v, v, v * 1.04};
    });
}

/// Grille cloth: a basket weave of dark oxblood threads with a lighter fleck.
cairo_surface_t* grilleCloth() {
    const ValueNoise fibre(panelWidth, panelHeight, 1.7, 21);
    const ValueNoise slub(panelWidth, panelHeight, 14.0, 22);
    return shadedSurface(panelWidth, panelHeight, [&](int x, int y) {
        const int cellX = x / 4, cellY = y / 4;
        const bool warpOnTop = ((cellX + cellY) % 2) == 0;
        // Within a cell, the thread on top is rounded across its width.
        const double across = warpOnTop ? (x % 4 + 0.5) / 4.0 : (y % 4 + 0.5) / 4.0;
        const double round = std::sin(across * pi);
        const double thread = 0.55 + 0.45 * round;
        const double fleck = warpOnTop ? 0.10 : 0.0;
        const double v = thread * (1.0 + 0.18 * fibre.at(x, y) + 0.10 * slub.at(x, y));
        return Colour{(0.36 + fleck) * v, (0.13 + fleck * 0.7) * v, (0.10 + fleck * 0.5) * v};
    });
}

/// Brushed aluminium: streaks drawn out along x (noise sampled at x / 30 and x / 6) over a
/// faint vertical sheen.
cairo_surface_t* brushedAluminium() {
    torvane::demo::Random random(31);
    std::vector<double> rowTone(panelHeight);
    for (auto& tone : rowTone) {
        tone = random.bipolar();
    }
    const ValueNoise longStreaks(panelWidth / 30 + 2, panelHeight, 1.0, 32);
    const ValueNoise shortStreaks(panelWidth / 6 + 2, panelHeight, 1.0, 33);
    return shadedSurface(panelWidth, panelHeight, [&](int x, int y) {
        const double sheen = 0.80 + 0.06 * std::cos((y - plateTop) / 60.0);
        const double streak = 0.03 * longStreaks.at(x / 30.0, y) +
                              0.02 * shortStreaks.at(x / 6.0, y) + 0.012 * rowTone[y] +
                              0.008 * random.bipolar();
        const double v = sheen + streak;
        return Colour{v * 0.985, v * 0.99, v};
    });
}

void paintSurface(cairo_t* cairo, cairo_surface_t* texture) {
    cairo_set_source_surface(cairo, texture, 0, 0);
    cairo_fill_preserve(cairo);
}

void drawGrille(cairo_t* cairo) {
    const double width = grilleRight - grilleLeft, height = grilleBottom - grilleTop;
    cairo_surface_t* cloth = grilleCloth();
    roundedRectangle(cairo, grilleLeft, grilleTop, width, height, 10);
    paintSurface(cairo, cloth);
    cairo_new_path(cairo);
    cairo_surface_destroy(cloth);
    // Shade towards the edges, where the cloth bends round the baffle.
    cairo_pattern_t* depth = cairo_pattern_create_radial(500, 115, 120, 500, 115, 560);
    cairo_pattern_add_color_stop_rgba(depth, 0.0, 0, 0, 0, 0.0);
    cairo_pattern_add_color_stop_rgba(depth, 1.0, 0, 0, 0, 0.55);
    cairo_set_source(cairo, depth);
    roundedRectangle(cairo, grilleLeft, grilleTop, width, height, 10);
    cairo_fill(cairo);
    cairo_pattern_destroy(depth);
    // Piping: a cream cord round the cloth, with its own shadow.
    cairo_set_line_width(cairo, 4.0);
    cairo_set_source_rgba(cairo, 0, 0, 0, 0.6);
    roundedRectangle(cairo, grilleLeft + 1, grilleTop + 2, width, height, 10);
    cairo_stroke(cairo);
    cairo_pattern_t* cord = gradient(0, grilleTop - 2, 0, grilleBottom + 2,
                                     {{0.93, 0.90, 0.80}, {0.78, 0.74, 0.63}, {0.90, 0.87, 0.77}});
    cairo_set_source(cairo, cord);
    roundedRectangle(cairo, grilleLeft, grilleTop, width, height, 10);
    cairo_stroke(cairo);
    cairo_pattern_destroy(cord);
}

/// The name in chrome script on the cloth: a dark rim round a polished track, lit from the
/// top left, with its shadow on the cloth.
void drawLogo(cairo_t* cairo) {
    constexpr double x = 500, baseline = 140, xHeight = 41, slant = 16;
    const ScriptPen pen{9.0, 3.3};
    const auto track = [&](double dx, double dy) {
        scriptPath(cairo, "Torvane", x + dx, baseline + dy, xHeight, slant, Align::centre, true);
    };
    track(3, 5);
    cairo_set_source_rgba(cairo, 0, 0, 0, 0.55);
    strokeWithPen(cairo, pen.grown(1.4));
    cairo_push_group(cairo);
    track(0, 0);
    cairo_set_source_rgba(cairo, 0.12, 0.12, 0.13, 0.95);
    strokeWithPenPreserve(cairo, pen.grown(1.2));
    cairo_pattern_t* shine = chrome(0, baseline - 2.4 * xHeight, 0, baseline + 0.5 * xHeight);
    cairo_set_source(cairo, shine);
    strokeWithPen(cairo, pen);
    cairo_pattern_destroy(shine);
    // A glint along the upper left edge of the track, kept on the letters.
    cairo_set_operator(cairo, CAIRO_OPERATOR_ATOP);
    track(-0.9, -1.3);
    cairo_set_source_rgba(cairo, 1, 1, 1, 0.45);
    strokeWithPen(cairo, {pen.major * 0.45, pen.minor * 0.45, pen.angle});
    cairo_pop_group_to_source(cairo);
    cairo_paint(cairo);
    const CapitalStyle tagline{8, 3.2};
    cairo_set_source_rgba(cairo, 0, 0, 0, 0.6);
    printCapitals(cairo, "HAND-WIRED TUBE AMPLIFIER", 501, 181, tagline);
    cairo_set_source_rgb(cairo, 0.90, 0.84, 0.66);
    printCapitals(cairo, "HAND-WIRED TUBE AMPLIFIER", 500, 180, tagline);
}

void drawPlate(cairo_t* cairo) {
    const double width = plateRight - plateLeft, height = plateBottom - plateTop;
    // Shadow of the plate on the tolex.
    for (int i = 6; i >= 1; --i) {
        cairo_set_source_rgba(cairo, 0, 0, 0, 0.09);
        roundedRectangle(cairo, plateLeft - i * 0.5, plateTop + i * 0.6, width + i, height + i,
                         8 + i);
        cairo_fill(cairo);
    }
    cairo_surface_t* metal = brushedAluminium();
    roundedRectangle(cairo, plateLeft, plateTop, width, height, 8);
    paintSurface(cairo, metal);
    cairo_surface_destroy(metal);
    // Bevel: the top edge catches the light, the bottom falls into shade.
    cairo_pattern_t* bevel = gradient(0, plateTop, 0, plateBottom,
                                      {{1, 1, 1}, {0.5, 0.5, 0.5}, {0, 0, 0}});
    cairo_set_source(cairo, bevel);
    cairo_set_line_width(cairo, 2.0);
    cairo_stroke(cairo);
    cairo_pattern_destroy(bevel);
    // A printed border line inside the edge.
    cairo_set_source_rgba(cairo, 0.08, 0.08, 0.09, 0.85);
    cairo_set_line_width(cairo, 1.2);
    roundedRectangle(cairo, plateLeft + 10, plateTop + 9, width - 20, height - 18, 5);
    cairo_stroke(cairo);
    const double inset = 19;
    screw(cairo, plateLeft + inset, plateTop + inset, 5.5, 0.4);
    screw(cairo, plateRight - inset, plateTop + inset, 5.5, 1.1);
    screw(cairo, plateLeft + inset, plateBottom - inset, 5.5, 0.9);
    screw(cairo, plateRight - inset, plateBottom - inset, 5.5, 0.2);
}

/// The scale round a knob: eleven ticks over the sweep, 0 and 10 at the ends.
void drawKnobScale(cairo_t* cairo, const PanelControl& knob) {
    const double cx = knob.centreX(), cy = knob.centreY();
    cairo_set_source_rgb(cairo, 0.08, 0.08, 0.09);
    cairo_set_line_cap(cairo, CAIRO_LINE_CAP_ROUND);
    for (int tick = 0; tick <= 10; ++tick) {
        const double angle = -halfSweep + 2 * halfSweep * tick / 10.0;
        const bool major = tick % 5 == 0;
        const double inner = 35.0, outer = major ? 41.0 : 39.0;
        cairo_set_line_width(cairo, major ? 2.0 : 1.3);
        cairo_move_to(cairo, cx + inner * std::sin(angle), cy - inner * std::cos(angle));
        cairo_line_to(cairo, cx + outer * std::sin(angle), cy - outer * std::cos(angle));
        cairo_stroke(cairo);
    }
    for (int end : {0, 10}) {
        const double angle = -halfSweep + 2 * halfSweep * end / 10.0;
        printCapitals(cairo, std::to_string(end), cx + 44 * std::sin(angle) + (end == 0 ? -3 : 3),
                      std::round(cy - 44 * std::cos(angle) + 8), {6, 0.6});
    }
    printCapitals(cairo, upperCase(knob.displayName), cx, 368, {8, 1.6});
}

/// A chrome disc on the plate with its shadow: a switch's washer, a lamp's bezel.
void chromeDisc(cairo_t* cairo, double x, double y, double radius, double shadow) {
    circleShadow(cairo, x + 1, y + 2, radius - 0.5, 3, shadow);
    cairo_pattern_t* shine = chrome(x - radius, y - radius, x + radius, y + radius);
    cairo_set_source(cairo, shine);
    cairo_arc(cairo, x, y, radius, 0, 2 * pi);
    cairo_fill_preserve(cairo);
    cairo_pattern_destroy(shine);
    cairo_set_source_rgba(cairo, 0.1, 0.1, 0.11, 0.7);
    cairo_set_line_width(cairo, 0.8);
    cairo_stroke(cairo);
}

/// The washer a toggle switch is fastened with, under the switch picture.
void drawSwitchMount(cairo_t* cairo, double x, double y) { chromeDisc(cairo, x, y, 10.5, 0.35); }

/// Words for the two positions of each toggle, top first, and for the three of the three-way.
const std::map<std::string, std::vector<std::string>> positionWords = {
    {"CPU", {"ECO", "FULL"}},
    {"Cabinet", {"OFF", "ON"}},
    {"Stereo", {"OFF", "ON"}},
    {"Oversampling", {"2×", "4×", "8×"}},
};

/// The words at a switch's positions.
const CapitalStyle positionWord{6, 0.4};

void drawSwitchPrinting(cairo_t* cairo, const PanelControl& control) {
    cairo_set_source_rgb(cairo, 0.08, 0.08, 0.09);
    const auto words = positionWords.find(control.name);
    if (control.type == "CVerticalSwitch") {
        drawSwitchMount(cairo, control.centreX(), control.centreY());
        cairo_set_source_rgb(cairo, 0.08, 0.08, 0.09);
        if (words != positionWords.end()) {
            const double x = control.x + control.width + 3;
            printCapitals(cairo, words->second[0], x, control.y + 9, positionWord, Align::left);
            printCapitals(cairo, words->second[1], x, control.y + control.height - 2, positionWord,
                          Align::left);
        }
        printCapitals(cairo, upperCase(control.displayName), control.centreX(), 368, {7, 0.8});
        return;
    }
    drawSwitchMount(cairo, control.centreX(), control.centreY());
    cairo_set_source_rgb(cairo, 0.08, 0.08, 0.09);
    if (words != positionWords.end()) {
        printCapitals(cairo, words->second[0], control.x - 3, control.centreY() + 3, positionWord,
                      Align::right);
        printCapitals(cairo, words->second[1], control.centreX(), control.y - 4, positionWord);
        printCapitals(cairo, words->second[2], control.x + control.width + 3,
                      control.centreY() + 3, positionWord, Align::left);
    }
    printCapitals(cairo, upperCase(control.displayName), control.centreX(), control.y - 16,
                  {7, 1.4});
}

/// A red jewel lamp in a chrome bezel, lit.
void drawPilotLight(cairo_t* cairo, double x, double y) {
    shadedDisc(cairo, x, y, 34, x, y, 6, {{0.0, {1.0, 0.25, 0.1}, 0.55}, {1.0, {1.0, 0.2, 0.1}, 0.0}});
    chromeDisc(cairo, x, y, 15, 0.5);
    shadedDisc(cairo, x, y, 11, x - 3, y - 3, 1,
               {{0.0, {1.0, 0.93, 0.75}}, {0.3, {1.0, 0.35, 0.15}}, {1.0, {0.55, 0.03, 0.02}}});
    // Facets: a ring of lines from the centre catch the light.
    cairo_set_line_width(cairo, 0.8);
    for (int facet = 0; facet < 8; ++facet) {
        const double angle = facet * pi / 4 + pi / 8;
        cairo_set_source_rgba(cairo, 1, 0.8, 0.6, facet % 2 ? 0.35 : 0.15);
        cairo_move_to(cairo, x + 3 * std::cos(angle), y + 3 * std::sin(angle));
        cairo_line_to(cairo, x + 10.5 * std::cos(angle), y + 10.5 * std::sin(angle));
        cairo_stroke(cairo);
    }
    cairo_set_source_rgba(cairo, 1, 1, 1, 0.8);
    cairo_arc(cairo, x - 4, y - 4.5, 2.2, 0, 2 * pi);
    cairo_fill(cairo);
    cairo_set_source_rgb(cairo, 0.08, 0.08, 0.09);
    printCapitals(cairo, "POWER", x, 368, {8, 1.6});
}

/// Chrome corner caps over the tolex, each held by a rivet, as on a road-worn cabinet.
void drawCorners(cairo_t* cairo) {
    const double size = 26;
    const struct {
        double x, y, sx, sy;
    } corners[] = {{0, 0, 1, 1}, {panelWidth, 0, -1, 1}, {0, panelHeight, 1, -1},
                   {panelWidth, panelHeight, -1, -1}};
    const auto outline = [&](cairo_t* c) {
        cairo_move_to(c, 0, 0);
        cairo_line_to(c, size, 0);
        cairo_curve_to(c, size, size * 0.55, size * 0.55, size, 0, size);
        cairo_close_path(c);
    };
    for (const auto& corner : corners) {
        cairo_save(cairo);
        cairo_translate(cairo, corner.x, corner.y);
        cairo_scale(cairo, corner.sx, corner.sy);
        cairo_save(cairo);
        cairo_translate(cairo, 1.5, 2.0);
        outline(cairo);
        cairo_set_source_rgba(cairo, 0, 0, 0, 0.55);
        cairo_fill(cairo);
        cairo_restore(cairo);
        outline(cairo);
        cairo_pattern_t* cap = gradient(0, 0, size * 0.8, size * 0.8,
                                        {{0.92, 0.93, 0.94}, {0.58, 0.59, 0.61}, {0.30, 0.31, 0.33}});
        cairo_set_source(cairo, cap);
        cairo_fill_preserve(cairo);
        cairo_pattern_destroy(cap);
        cairo_set_source_rgba(cairo, 0.1, 0.1, 0.1, 0.8);
        cairo_set_line_width(cairo, 0.8);
        cairo_stroke(cairo);
        cairo_restore(cairo);
        const double rx = corner.x + corner.sx * size * 0.33, ry = corner.y + corner.sy * size * 0.33;
        circleShadow(cairo, rx + 0.5, ry + 1, 2.5, 1.5, 0.5);
        shadedDisc(cairo, rx, ry, 2.6, rx - 0.8, ry - 0.8, 0.2,
                   {{0.0, {1, 1, 1}}, {1.0, {0.35, 0.36, 0.38}}});
    }
}

void drawPanel(cairo_t* cairo, const std::vector<PanelControl>& controls) {
    cairo_surface_t* covering = tolex();
    cairo_set_source_surface(cairo, covering, 0, 0);
    cairo_paint(cairo);
    cairo_surface_destroy(covering);
    drawGrille(cairo);
    drawLogo(cairo);
    drawPlate(cairo);
    for (const auto& control : controls) {
        if (control.type == "CAnimKnob") {
            drawKnobScale(cairo, control);
        } else {
            drawSwitchPrinting(cairo, control);
        }
    }
    drawPilotLight(cairo, 900, 312);
    cairo_set_source_rgb(cairo, 0.08, 0.08, 0.09);
    scriptPath(cairo, "Torvane", 112, 300, 11, 16);
    strokeWithPen(cairo, {2.8, 1.15});
    printCapitals(cairo, "MODEL 51", 112, 322, {7, 2.4});
    printCapitals(cairo, "STEREO TUBE AMP", 112, 338, {5, 1.6});
    drawCorners(cairo);
}

// ---- The knob ---------------------------------------------------------------------------

/// The pointer's outline, pointing up from the centre: a long tapered nose and a short
/// rounded tail, as on a chicken-head knob.
void pointerPath(cairo_t* cairo) {
    cairo_move_to(cairo, -2.6, -29.5);
    cairo_curve_to(cairo, -1.2, -31.2, 1.2, -31.2, 2.6, -29.5);
    cairo_curve_to(cairo, 6.5, -16, 10.5, -4, 10.5, 6);
    cairo_curve_to(cairo, 10.5, 15, 6.5, 19.5, 0, 19.5);
    cairo_curve_to(cairo, -6.5, 19.5, -10.5, 15, -10.5, 6);
    cairo_curve_to(cairo, -10.5, -4, -6.5, -16, -2.6, -29.5);
    cairo_close_path(cairo);
}

void drawKnobFrame(cairo_t* cairo, double angle) {
    const double c = knobSize / 2.0;
    // Shadow, cast down and to the right; it turns with the pointer's outline.
    cairo_save(cairo);
    cairo_translate(cairo, c + 2.2, c + 3.2);
    cairo_rotate(cairo, angle);
    for (int i = 3; i >= 1; --i) {
        cairo_save(cairo);
        cairo_scale(cairo, 1.0 + 0.05 * i, 1.0 + 0.05 * i);
        pointerPath(cairo);
        cairo_set_source_rgba(cairo, 0, 0, 0, 0.16);
        cairo_fill(cairo);
        cairo_restore(cairo);
    }
    cairo_restore(cairo);
    circleShadow(cairo, c + 1.5, c + 2.5, 20, 5, 0.55);
    // The skirt: a black disc with a knurled rim that turns with the knob.
    shadedDisc(cairo, c, c, 21, c - 7, c - 8, 2,
               {{0.0, {0.30, 0.30, 0.31}}, {0.6, {0.10, 0.10, 0.11}}, {1.0, {0.03, 0.03, 0.03}}});
    cairo_set_line_width(cairo, 1.0);
    for (int rib = 0; rib < 48; ++rib) {
        const double a = angle + rib * 2 * pi / 48;
        const double lit = 0.5 + 0.5 * std::cos(a + 3 * pi / 4);
        cairo_set_source_rgba(cairo, 0.45 * lit + 0.05, 0.45 * lit + 0.05, 0.46 * lit + 0.05, 0.9);
        cairo_move_to(cairo, c + 18.5 * std::sin(a), c - 18.5 * std::cos(a));
        cairo_line_to(cairo, c + 21 * std::sin(a), c - 21 * std::cos(a));
        cairo_stroke(cairo);
    }
    // The pointer, glossy black bakelite; the light stays where it is while it turns.
    cairo_save(cairo);
    cairo_translate(cairo, c, c);
    cairo_rotate(cairo, angle);
    pointerPath(cairo);
    cairo_restore(cairo);
    cairo_pattern_t* body = cairo_pattern_create_radial(c - 8, c - 10, 1, c, c, 32);
    cairo_pattern_add_color_stop_rgb(body, 0.0, 0.42, 0.42, 0.44);
    cairo_pattern_add_color_stop_rgb(body, 0.35, 0.14, 0.14, 0.15);
    cairo_pattern_add_color_stop_rgb(body, 1.0, 0.02, 0.02, 0.02);
    cairo_set_source(cairo, body);
    cairo_fill_preserve(cairo);
    cairo_pattern_destroy(body);
    cairo_set_source_rgba(cairo, 0.55, 0.55, 0.57, 0.55);
    cairo_set_line_width(cairo, 0.8);
    cairo_stroke(cairo);
    // The white line along the nose.
    cairo_save(cairo);
    cairo_translate(cairo, c, c);
    cairo_rotate(cairo, angle);
    cairo_set_line_cap(cairo, CAIRO_LINE_CAP_ROUND);
    cairo_set_line_width(cairo, 2.6);
    cairo_set_source_rgb(cairo, 0.96, 0.95, 0.90);
    cairo_move_to(cairo, 0, -4);
    cairo_line_to(cairo, 0, -27);
    cairo_stroke(cairo);
    cairo_restore(cairo);
    // Highlight of the dome at the centre, fixed to the light.
    shadedDisc(cairo, c, c, 9, c - 3, c - 3, 0.5, {{0.0, {1, 1, 1}, 0.35}, {1.0, {1, 1, 1}, 0.0}});
}

void drawKnobStrip(cairo_t* cairo) {
    for (int frame = 0; frame < knobFrames; ++frame) {
        const double angle = -halfSweep + 2 * halfSweep * frame / (knobFrames - 1);
        cairo_save(cairo);
        cairo_translate(cairo, 0, frame * knobSize);
        drawKnobFrame(cairo, angle);
        cairo_restore(cairo);
    }
}

// ---- The switches -----------------------------------------------------------------------

/// A toggle's bat from its pivot at (x, y): `dx`, `dy` say where the tip leans, as seen from
/// the front; a lever pointing at the viewer has neither.
void drawBat(cairo_t* cairo, double x, double y, double dx, double dy) {
    // The hex nut under the bat.
    cairo_pattern_t* nut = chrome(x - 7, y - 7, x + 7, y + 7);
    cairo_set_source(cairo, nut);
    for (int side = 0; side < 6; ++side) {
        const double a = side * pi / 3 + pi / 6;
        (side == 0 ? cairo_move_to : cairo_line_to)(cairo, x + 7.2 * std::cos(a),
                                                    y + 7.2 * std::sin(a));
    }
    cairo_close_path(cairo);
    cairo_fill_preserve(cairo);
    cairo_pattern_destroy(nut);
    cairo_set_source_rgba(cairo, 0.15, 0.15, 0.16, 0.8);
    cairo_set_line_width(cairo, 0.7);
    cairo_stroke(cairo);
    const double length = std::hypot(dx, dy);
    const double tipX = x + dx, tipY = y + dy;
    if (length > 0.0) {
        // Shadow of the bat on the plate.
        cairo_set_source_rgba(cairo, 0, 0, 0, 0.35);
        cairo_set_line_cap(cairo, CAIRO_LINE_CAP_ROUND);
        cairo_set_line_width(cairo, 4.0);
        cairo_move_to(cairo, x + 1.5, y + 2);
        cairo_line_to(cairo, tipX + 2, tipY + 2.5);
        cairo_stroke(cairo);
        // The shaft: a tapered chrome rod, shaded across its width.
        const double nx = -dy / length, ny = dx / length;
        cairo_move_to(cairo, x + nx * 3.0, y + ny * 3.0);
        cairo_line_to(cairo, tipX + nx * 1.9, tipY + ny * 1.9);
        cairo_line_to(cairo, tipX - nx * 1.9, tipY - ny * 1.9);
        cairo_line_to(cairo, x - nx * 3.0, y - ny * 3.0);
        cairo_close_path(cairo);
        cairo_pattern_t* shaft = chrome(x + nx * 3.0, y + ny * 3.0, x - nx * 3.0, y - ny * 3.0);
        cairo_set_source(cairo, shaft);
        cairo_fill(cairo);
        cairo_pattern_destroy(shaft);
    }
    // The ball at the tip.
    const double ball = length > 0.0 ? 3.8 : 4.6;
    shadedDisc(cairo, tipX, tipY, ball, tipX - 1.2, tipY - 1.2, 0.3,
               {{0.0, {1, 1, 1}}, {0.6, {0.62, 0.63, 0.65}}, {1.0, {0.30, 0.31, 0.33}}});
}

void drawVerticalSwitch(cairo_t* cairo) {
    // Value 0: the lever up; value 1: down. A click in a half sets the lever there.
    drawBat(cairo, 10, 20, 0, -15);
    drawBat(cairo, 10, 60, 0, 15);
}

void drawThreeWaySwitch(cairo_t* cairo) {
    drawBat(cairo, 20, 10, -15, 0);
    drawBat(cairo, 20, 30, 0, 0);
    drawBat(cairo, 20, 50, 15, 0);
}

// ---- The donate button ------------------------------------------------------------------

void heart(cairo_t* cairo, double x, double y, double size) {
    cairo_move_to(cairo, x, y + size * 0.9);
    cairo_curve_to(cairo, x - size * 1.2, y + size * 0.1, x - size * 0.6, y - size * 0.8, x,
                   y - size * 0.15);
    cairo_curve_to(cairo, x + size * 0.6, y - size * 0.8, x + size * 1.2, y + size * 0.1, x,
                   y + size * 0.9);
    cairo_close_path(cairo);
}

void drawDonateFrame(cairo_t* cairo, bool pressed) {
    const double w = 92, h = 26, sink = pressed ? 1.0 : 0.0;
    if (!pressed) {
        cairo_set_source_rgba(cairo, 0, 0, 0, 0.35);
        roundedRectangle(cairo, 2, 3, w - 3, h - 3, 6);
        cairo_fill(cairo);
    }
    roundedRectangle(cairo, 1, 1 + sink, w - 3, h - 4, 6);
    cairo_pattern_t* face =
        pressed ? gradient(0, 1, 0, h, {{0.55, 0.09, 0.07}, {0.72, 0.16, 0.11}})
                : gradient(0, 1, 0, h, {{0.93, 0.33, 0.24}, {0.70, 0.12, 0.09}, {0.52, 0.07, 0.05}});
    cairo_set_source(cairo, face);
    cairo_fill_preserve(cairo);
    cairo_pattern_destroy(face);
    cairo_set_source_rgba(cairo, 0.18, 0.02, 0.02, 0.9);
    cairo_set_line_width(cairo, 1.0);
    cairo_stroke(cairo);
    cairo_set_source_rgb(cairo, 0.99, 0.95, 0.86);
    heart(cairo, 16, 12.5 + sink, 6);
    cairo_fill(cairo);
    printCapitals(cairo, "DONATE", 54, 17.5 + sink, {8, 1.2});
}

void drawDonate(cairo_t* cairo) {
    drawDonateFrame(cairo, false);
    cairo_translate(cairo, 0, 26);
    drawDonateFrame(cairo, true);
}

int generate(const std::filesystem::path& folder) {
    std::filesystem::create_directories(folder);
    const auto controls = documentControls();
    drawPicture(folder / "torvane.png", panelWidth, panelHeight,
                [&](cairo_t* cairo) { drawPanel(cairo, controls); }, true);
    drawPicture(folder / "fender-chicken.png", knobSize, knobSize * knobFrames, drawKnobStrip);
    drawPicture(folder / "HorizontalSwitch-3P.png", 40, 60, drawThreeWaySwitch);
    drawPicture(folder / "VerticalSwitch.png", 20, 80, drawVerticalSwitch);
    drawPicture(folder / "donate.png", 92, 52, drawDonate);
    // cairo keeps caches until told otherwise; a leak checker would count them.
    cairo_debug_reset_static_data();
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: panelart OUTPUT_DIR\n");
        return 2;
    }
    try {
        return generate(argv[1]);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "panelart: %s\n", error.what());
        return 1;
    }
}
