#pragma once

// The panel's own lettering, drawn as strokes with cairo: no font is read.
//
// Capitals: an engraving-style sans, each glyph a few lines, elliptic arcs and cubic curves on
// a grid whose baseline is y = 0 and whose cap line is y = 10 (y grows upwards), coordinates
// being the middle of the pen's track. Set at a cap height of H pixels with a pen of w
// pixels, the grid is scaled by (H - w) / 10, so the ink of a flat letter spans exactly H.
// Each glyph carries its side bearings in grid units and a short table kerns the pairs whose
// shapes leave a hole (AT, LT, PA, ...).
//
// Script: the logo's upright, joined letters on a grid whose baseline is y = 0 and whose
// x-height is y = 10 (the capital reaches 23), slanted when set. Each lower-case letter's
// stroke is joined to the previous one's by a curve that leaves along the one's last tangent
// and arrives along the next one's first, so the word is a single pen track. The track is
// stroked with an elliptic pen held at a fixed angle, as a broad nib is, which makes the
// downstrokes thick and the hairlines thin.

#include <cairo.h>

#include <string>

namespace torvane::generators {

enum class Align { left, centre, right };

/// How capitals are set: sizes in device pixels.
struct CapitalStyle {
    /// From the baseline to the top of a flat capital, ink included.
    double capHeight;
    /// Extra space between letters, as panel printing has.
    double tracking = 0.0;
    /// The pen's width; 0 takes 0.17 of the cap height.
    double weight = 0.0;
};

/// Prints `text` (UTF-8) with the current source, its baseline at `baseline`, its ink placed
/// by `align` at `x`. Replaces the current path. Throws std::invalid_argument for a character
/// it has no glyph for.
void printCapitals(cairo_t* cairo, const std::string& text, double x, double baseline,
                   const CapitalStyle& style, Align align = Align::centre);

/// The elliptic nib the script is written with, in device pixels.
struct ScriptPen {
    /// The nib's width across its edge and its thickness.
    double major, minor;
    /// The edge's angle above the horizontal, degrees.
    double angle = 35.0;

    /// The same nib with `by` pixels more all round: an outline or a glow behind the stroke.
    ScriptPen grown(double by) const { return {major + 2 * by, minor + 2 * by, angle}; }
};

/// Makes the current path the pen track of `word` in script: x-height `xHeight` pixels,
/// slanted by `slantDegrees`, its baseline at `baseline` and its track placed by `align` at
/// `x`. With `underline`, the last letter's exit runs on into a swash back under the word, as
/// on a badge. The letters it has are those of the logo (T, o, r, v, a, n, e); any other
/// throws std::invalid_argument.
void scriptPath(cairo_t* cairo, const std::string& word, double x, double baseline,
                double xHeight, double slantDegrees, Align align = Align::centre,
                bool underline = false);

/// Strokes the current path with `pen` in the current source and clears it.
void strokeWithPen(cairo_t* cairo, const ScriptPen& pen);

/// Like strokeWithPen, but keeps the path.
void strokeWithPenPreserve(cairo_t* cairo, const ScriptPen& pen);

} // namespace torvane::generators
