#include "circuit/tubes/PentodeCurrents.h"

#include "circuit/tubes/KorenTerms.h"
#include "runtime/Exceptions.h"

#include <cmath>

namespace nodara {

void KorenPentodeParameters::read(const Properties& properties, const std::string& className) {
    for (auto [key, field] : {std::pair{"Vct", &vct}, {"Kp", &kp}, {"Kvb", &kvb}, {"mu", &mu},
                              {"Ex", &ex}, {"Kg1", &kg1}, {"Kg2", &kg2}}) {
        requireProperty(properties, key, *field, doubleParser,
                        InvalidArgumentException(className + ": " + key + " is not defined."));
    }
    for (auto [key, value] : {std::pair{"Vct", vct}, {"Kp", kp}, {"Kvb", kvb}, {"mu", mu},
                              {"Ex", ex}, {"Kg1", kg1}, {"Kg2", kg2}}) {
        if (!(value >= 0.0)) {
            throw InvalidArgumentException(
                concat("Triode: ", key, " must be greater than or equal to 0. ", key, "=", value));
        }
    }
}

namespace {

/// E1 and its parts at (Vgk, Vsk); all 0 at Vsk = 0.
struct ScreenTerms {
    double e1 = 0.0;
    double l = 0.0;
    double sigma = 0.0;
};

ScreenTerms screenTerms(const KorenPentodeParameters& k, double vgk, double vsk) {
    if (vsk == 0.0) {
        return {};
    }
    const double u = k.kp * (1.0 / k.mu + vgk / vsk);
    const koren::SoftplusTerms terms = koren::softplusTerms(u);
    return {terms.softplus * vsk / k.kp, terms.softplus, terms.logistic};
}

double anodeCurrent(const KorenPentodeParameters& k, double vgk, double vpk, double vsk) {
    const double e1 = screenTerms(k, vgk, vsk).e1;
    const double sign = 0.0 > e1 ? -1.0 : 1.0;
    return std::atan(vpk / k.kvb) * (std::pow(e1, k.ex) / k.kg1 * (sign + 1.0));
}

} // namespace

void NKPentodeAnodeCurrent::setProperties(const Properties& properties) {
    k.read(properties, "NKPentodeAnodeCurrent");
}

scalar NKPentodeAnodeCurrent::getCurrent(scalar vgk, scalar vpk, scalar vsk) {
    return static_cast<scalar>(anodeCurrent(k, vgk, vpk, vsk));
}

PentodeSlopes NKPentodeAnodeCurrent::getDerivatives(scalar vgk, scalar vpk, scalar vsk) {
    const ScreenTerms t = screenTerms(k, vgk, vsk);
    const double sign = 0.0 > t.e1 ? -1.0 : 1.0;
    const double ratio = vpk / k.kvb;
    PentodeSlopes slopes;
    slopes.byVpk = static_cast<scalar>(std::pow(t.e1, k.ex) * (sign + 1.0) /
                                       ((ratio * ratio + 1.0) * k.kg1 * k.kvb));
    if (vsk != 0.0f) {
        // The current with screen and anode exchanged, as the law's slopes are defined.
        const double swapped = anodeCurrent(k, vgk, vsk, vpk);
        const double common = k.ex * swapped / t.e1;
        slopes.byVgk = static_cast<scalar>(common * t.sigma);
        slopes.byVsk = static_cast<scalar>(common * (t.l / k.kp - (vgk / double(vsk)) * t.sigma));
    }
    return slopes;
}

void NKPentodeScreenCurrent::setProperties(const Properties& properties) {
    k.read(properties, "NKPentodeScreenCurrent");
}

scalar NKPentodeScreenCurrent::getCurrent(scalar vgk, scalar, scalar vsk) {
    const double w = vsk / k.mu + vgk;
    return w > 0.0 ? static_cast<scalar>(std::pow(w, 1.5) / k.kg2) : 0.0f;
}

PentodeSlopes NKPentodeScreenCurrent::getDerivatives(scalar vgk, scalar, scalar vsk) {
    const double w = vsk / k.mu + vgk;
    if (!(w > 0.0)) {
        return {};
    }
    return {static_cast<scalar>(std::sqrt(w) * 1.5 / k.kg2), 0.0f,
            static_cast<scalar>(std::sqrt(w) * 1.5 / (k.kg2 * k.mu))};
}

} // namespace nodara
