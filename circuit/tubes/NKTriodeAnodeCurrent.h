#pragma once

#include "circuit/tubes/TriodeCurrent.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <limits>
#include <memory>
#include <vector>

namespace nodara {

/// Koren's triode anode current, in doubles (voltages against the cathode):
///   S  = sqrt(Kvb + Vpk²)
///   u  = Kp·(1/mu + (Vgk + Vct)/S)
///   E1 = Vpk·ln(1 + e^u)/Kp
///   Ip = E1^Ex·(1 + sign E1)/Kg,   0 for Vpk ≤ 0.
/// Unless DoNotInterpolate, the current and both slopes are tabulated once over
/// Vgk = VgkMin .. VgkMax by DeltaVgk (default 0.2 V) and Vpk = 0 .. VpMax by DeltaVpk
/// (default 10 V) and read bilinearly: below VgkMin the current is 0, above VgkMax the grid
/// is taken at VgkMax; above VpMax the current is computed, the slopes taken at VpMax. A
/// sample then needs no exp, log or pow. With the 12AX7 steps (0.01 V by 2 V) the reading is
/// within 1 % + 1.5 µA of the law's current and 2 % + 3 µA/V of its slopes from Vpk = 10 V
/// up; in the first cells, where the current rises as Vpk^Ex, up to some 80 µA.
class NKTriodeAnodeCurrent final : public TriodeCurrent {
public:
    void setProperties(const Properties& properties) override;
    scalar getCurrent(scalar vgk, scalar vpk) override;
    CurrentSlopes getDerivatives(scalar vgk, scalar vpk) override;

private:
    /// Current and slopes at one point, as the table holds them.
    using Cell = std::array<scalar, 3>;
    static_assert(sizeof(Cell) == 3 * sizeof(scalar), "a row of cells is read as floats");

    void readLaw(const Properties& properties);
    void readTableRange(const Properties& properties);
    /// The tables of these parameters, shared by every law that has them: the preamp's
    /// three 12AX7s build one.
    void findOrBuildTables();
    std::shared_ptr<Cell[]> buildTables() const;
    /// The law and its slopes at (vg, vp), vp > 0.
    Cell lawAt(double vg, double vp) const;
    /// The same, kept for the last (vg, vp) by their bits: a Newton iteration mostly asks for
    /// the slopes where it asked for the current, and the law gives both at once.
    const Cell& keptLawAt(scalar vg, scalar vp);
    /// Bilinear reading of the table at (vg, vp), both within it: current and both slopes.
    /// The reading is kept: the slopes of a Newton iteration are asked for at the voltages its
    /// current was.
    const scalar* interpolate(scalar vg, scalar vp);

    double vct = 0.0;
    double kp = 0.0;
    double kvb = 0.0;
    double mu = 0.0;
    double ex = 0.0;
    double kg = 0.0;
    scalar vgkMax = std::numeric_limits<scalar>::infinity();
    scalar vgkMin = 0.0f;
    scalar vpMax = 0.0f;
    /// Row-major, nVgk rows of nVp columns: row i is Vgk = VgkMin + i·DeltaVgk; one spare
    /// cell behind them.
    std::shared_ptr<const Cell[]> tables;
    const Cell* table = nullptr;
    int32 nVgk = 0;
    int32 nVp = 0;
    bool doNotInterpolate = false;
    scalar deltaVpk = 10.0f;
    scalar reciprocalDeltaVpk = 0.1f;
    scalar deltaVgk = 0.2f;
    scalar reciprocalDeltaVgk = 5.0f;
    scalar readVg = std::numeric_limits<scalar>::quiet_NaN();
    scalar readVp = std::numeric_limits<scalar>::quiet_NaN();
    /// The kept reading, in the lanes it was computed in; the fourth is not used.
    alignas(16) scalar reading[4] = {};
    uint32_t lawVg = 0;
    uint32_t lawVp = 0;
    bool lawKept = false;
    Cell lawPoint{};
};

inline scalar NKTriodeAnodeCurrent::getCurrent(scalar vgk, scalar vpk) {
    if (!(vpk > 0.0f)) {
        return 0.0f;
    }
    if (!doNotInterpolate && vpk <= vpMax) {
        return vgk >= vgkMin ? interpolate(std::min(vgk, vgkMax), vpk)[0] : 0.0f;
    }
    return keptLawAt(std::min(vgk, vgkMax), vpk)[0];
}

inline CurrentSlopes NKTriodeAnodeCurrent::getDerivatives(scalar vgk, scalar vpk) {
    if (!(vpk > 0.0f)) {
        return {};
    }
    if (doNotInterpolate) {
        const Cell& point = keptLawAt(vgk, vpk);
        return {point[1], point[2]};
    }
    if (!(vgk >= vgkMin)) {
        return {};
    }
    const scalar* point = interpolate(std::min(vgk, vgkMax), std::min(vpk, vpMax));
    return {point[1], point[2]};
}

} // namespace nodara
