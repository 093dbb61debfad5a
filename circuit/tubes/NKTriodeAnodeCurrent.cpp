#include "circuit/tubes/NKTriodeAnodeCurrent.h"

#include "circuit/tubes/KorenRows.h"
#include "circuit/tubes/KorenTerms.h"
#include "kernels/InstructionSet.h"
#include "runtime/Exceptions.h"

#include <sys/mman.h>
#include <xmmintrin.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdlib>
#include <map>
#include <mutex>
#include <new>
#include <tuple>

namespace nodara {

namespace {

const std::string head = "NKTriodeAnodeCurrent: ";

// Storage for `count` values, uninitialised. From 2 MiB up it lies on whole huge pages, which
// the system is asked to back as such: one page fault per 2 MiB instead of one per 4 KiB when
// it is first written (the 12AX7 tables' 2.9 MB then take well under a millisecond instead of
// about eight on a virtual machine), and fewer address-translation misses when read.
template <class T>
std::shared_ptr<T[]> largeTable(size_t count) {
    constexpr size_t hugePage = size_t{1} << 21;
    const size_t bytes = count * sizeof(T);
    if (bytes < hugePage) {
        return std::shared_ptr<T[]>(new T[count]);
    }
    const size_t rounded = (bytes + hugePage - 1) & ~(hugePage - 1);
    void* memory = std::aligned_alloc(hugePage, rounded);
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    madvise(memory, rounded, MADV_HUGEPAGE);
    return std::shared_ptr<T[]>(static_cast<T*>(memory), [](T* values) { std::free(values); });
}

void requireNonNegative(const char* key, double value) {
    if (!(value >= 0.0)) {
        throw InvalidArgumentException(
            concat("Triode: ", key, " must be greater than or equal to 0. ", key, "=", value));
    }
}

} // namespace

void NKTriodeAnodeCurrent::setProperties(const Properties& properties) {
    // A new law: nothing kept from the old one may answer for it.
    lawKept = false;
    readVg = std::numeric_limits<scalar>::quiet_NaN();
    readLaw(properties);
    readProperty(properties, "DoNotInterpolate", doNotInterpolate, boolParser);
    if (!doNotInterpolate) {
        readTableRange(properties);
    }
    for (auto [key, value] : {std::pair{"Vct", vct}, {"Kp", kp}, {"Kvb", kvb}, {"mu", mu},
                              {"Ex", ex}, {"Kg", kg}}) {
        requireNonNegative(key, value);
    }
    if (doNotInterpolate) {
        return;
    }
    if (!(vgkMin < vgkMax)) {
        throw InvalidArgumentException(concat("VgkMax must be greater than VgkMin. VgkMax=",
                                              vgkMax, " VgkMin=", vgkMin));
    }
    if (!(vpMax > 0.0f)) {
        throw InvalidArgumentException(concat("Triode: VpMax must be greater than 0. VpMax=", vpMax));
    }
    findOrBuildTables();
}

void NKTriodeAnodeCurrent::readLaw(const Properties& properties) {
    for (auto [key, field] : {std::pair{"Vct", &vct}, {"Kp", &kp}, {"Kvb", &kvb}, {"mu", &mu},
                              {"Ex", &ex}, {"Kg", &kg}}) {
        requireProperty(properties, key, *field, doubleParser,
                        InvalidArgumentException(head + key + " is not defined."));
    }
}

void NKTriodeAnodeCurrent::readTableRange(const Properties& properties) {
    readProperty(properties, "DeltaVpk", deltaVpk, scalarParser);
    readProperty(properties, "DeltaVgk", deltaVgk, scalarParser);
    if (!(deltaVpk > 0.0f) || !(deltaVgk > 0.0f)) {
        throw InvalidArgumentException(concat(head, "DeltaVpk and DeltaVgk must be greater than 0. "
                                                    "DeltaVpk=", deltaVpk, " DeltaVgk=", deltaVgk));
    }
    reciprocalDeltaVpk = 1.0f / deltaVpk;
    reciprocalDeltaVgk = 1.0f / deltaVgk;
    for (auto [key, field] : {std::pair{"VgkMax", &vgkMax}, {"VgkMin", &vgkMin},
                              {"VpMax", &vpMax}}) {
        requireProperty(properties, key, *field, scalarParser,
                        InvalidArgumentException(head + key + " is not defined."));
    }
}

void NKTriodeAnodeCurrent::findOrBuildTables() {
    nVgk = static_cast<int32>((vgkMax - vgkMin) * reciprocalDeltaVgk) + 1;
    nVp = static_cast<int32>(vpMax * reciprocalDeltaVpk) + 1;
    if (nVgk < 2 || nVp < 2) {
        throw InvalidArgumentException(concat(head, "the tables need VgkMax - VgkMin of at least "
                                                    "DeltaVgk and VpMax of at least DeltaVpk. "
                                                    "DeltaVgk=", deltaVgk, " DeltaVpk=", deltaVpk));
    }
    using Key = std::tuple<double, double, double, double, double, double, scalar, scalar, scalar,
                           scalar, scalar>;
    // Documents are read on any thread; tables live while a law uses them.
    static std::mutex guard;
    static std::map<Key, std::weak_ptr<const Cell[]>> built;
    const Key key{vct, kp, kvb, mu, ex, kg, vgkMin, vgkMax, vpMax, deltaVgk, deltaVpk};
    const std::lock_guard<std::mutex> lock(guard);
    tables = built[key].lock();
    if (!tables) {
        tables = buildTables();
        built[key] = tables;
    }
    table = tables.get();
}

// The current is kept only from 1 nA up: below it the table holds 0. The slopes are taken on
// the grid voltage of the row, the current with the grid held at VgkMax.
std::shared_ptr<NKTriodeAnodeCurrent::Cell[]> NKTriodeAnodeCurrent::buildTables() const {
    const size_t count = static_cast<size_t>(nVgk) * static_cast<size_t>(nVp) + 1;
    std::shared_ptr<Cell[]> cells = largeTable<Cell>(count);
    cells[count - 1] = Cell{};
    const bool vectorRows = kernels::instructionSetLevel() >= kernels::levelAvx2;
    // The anode voltages of columns 1 .. nVp − 1, padded to whole fours with the last.
    std::vector<double> anode(static_cast<size_t>((nVp - 1 + 3) & ~3));
    for (size_t j = 0; j < anode.size(); ++j) {
        const int32 column = std::min(static_cast<int32>(j) + 1, nVp - 1);
        anode[j] = static_cast<scalar>(column) * deltaVpk;
    }
    const koren::TriodeLaw law{vct, kp, kvb, mu, ex, kg};
    for (int32 i = 0; i < nVgk; ++i) {
        const scalar vg = static_cast<scalar>(i) * deltaVgk + vgkMin;
        Cell* row = cells.get() + static_cast<size_t>(i) * static_cast<size_t>(nVp);
        row[0] = Cell{};
        if (vectorRows) {
            koren::triodeRowAvx2(law, vg, std::min(vg, vgkMax), anode.data(), nVp - 1,
                                 row[1].data());
        } else {
            for (int32 j = 1; j < nVp; ++j) {
                const double vp = anode[static_cast<size_t>(j - 1)];
                row[j] = lawAt(vg, vp);
                if (vg > vgkMax) {
                    row[j][0] = lawAt(vgkMax, vp)[0];
                }
            }
        }
        for (int32 j = 1; j < nVp; ++j) {
            if (!(row[j][0] >= 1e-9f)) {
                row[j][0] = 0.0f;
            }
        }
    }
    return cells;
}

// With P = (Ex/Kg)·E1^(Ex − 1)·(1 + sign E1) and σ = e^u/(1 + e^u):
//   Ip = P·E1/Ex,  dIp/dVgk = P·Vpk·σ/S,  dIp/dVpk = P·(L/Kp − σ·Vgk·Vpk²/S³).
// The slope by Vpk is taken without Vct, on purpose; the sets built in have Vct = 0.
NKTriodeAnodeCurrent::Cell NKTriodeAnodeCurrent::lawAt(double vg, double vp) const {
    const double s = std::sqrt(kvb + vp * vp);
    struct Terms {
        double p;
        double e1;
        double l;
        double sigma;
    };
    const auto termsAt = [&](double shift) {
        const double u = kp * (1.0 / mu + (vg + shift) / s);
        const koren::SoftplusTerms terms = koren::softplusTerms(u);
        const double e1 = vp * terms.softplus / kp;
        const double sign = 0.0 > e1 ? -1.0 : 1.0;
        return Terms{(ex / kg) * std::pow(e1, ex - 1.0) * (sign + 1.0), e1, terms.softplus,
                     terms.logistic};
    };
    const Terms withVct = termsAt(vct);
    const Terms withoutVct = vct == 0.0 ? withVct : termsAt(0.0);
    return {static_cast<scalar>(withVct.p * withVct.e1 / ex),
            static_cast<scalar>(withVct.p * vp * withVct.sigma / s),
            static_cast<scalar>(withoutVct.p * (withoutVct.l / kp -
                                                withoutVct.sigma * vg * vp * vp / (s * s * s)))};
}

const NKTriodeAnodeCurrent::Cell& NKTriodeAnodeCurrent::keptLawAt(scalar vg, scalar vp) {
    const uint32_t vgBits = std::bit_cast<uint32_t>(vg);
    const uint32_t vpBits = std::bit_cast<uint32_t>(vp);
    if (!lawKept || vgBits != lawVg || vpBits != lawVp) {
        lawPoint = lawAt(vg, vp);
        lawVg = vgBits;
        lawVp = vpBits;
        lawKept = true;
    }
    return lawPoint;
}

const scalar* NKTriodeAnodeCurrent::interpolate(scalar vg, scalar vp) {
    if (vg == readVg && vp == readVp) {
        return reading;
    }
    const int32 c = std::min(nVp - 2, static_cast<int32>(vp * reciprocalDeltaVpk));
    const int32 r = std::min(nVgk - 2, static_cast<int32>((vg - vgkMin) * reciprocalDeltaVgk));
    const scalar p0 = static_cast<scalar>(c) * deltaVpk;
    const scalar g0 = static_cast<scalar>(r) * deltaVgk + vgkMin;
    const scalar g1 = g0 + deltaVgk;
    const Cell* row = table + static_cast<size_t>(r) * static_cast<size_t>(nVp) + c;
    const Cell* next = row + nVp;
    // Current and both slopes at once, one per lane, each by the same steps as written above;
    // the fourth lane reads the next cell's current (the table ends in a spare cell) and is
    // dropped.
    const auto at = [](const Cell& cell) { return _mm_loadu_ps(cell.data()); };
    const __m128 up = _mm_set1_ps(vg - g0);
    const __m128 down = _mm_set1_ps(g1 - vg);
    const __m128 right = _mm_set1_ps(vp - p0);
    const __m128 left = _mm_set1_ps(p0 + deltaVpk - vp);
    const __m128 sum = _mm_add_ps(
        _mm_add_ps(_mm_mul_ps(_mm_add_ps(_mm_mul_ps(up, at(next[0])), _mm_mul_ps(at(row[0]), down)),
                              left),
                   _mm_mul_ps(_mm_mul_ps(at(row[1]), down), right)),
        _mm_mul_ps(_mm_mul_ps(at(next[1]), up), right));
    _mm_store_ps(reading, _mm_mul_ps(sum, _mm_set1_ps(reciprocalDeltaVgk * reciprocalDeltaVpk)));
    readVg = vg;
    readVp = vp;
    return reading;
}

} // namespace nodara
