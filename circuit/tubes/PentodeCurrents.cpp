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

const NKPentodeAnodeCurrent::Terms& NKPentodeAnodeCurrent::termsAt(scalar vgk, scalar vsk) {
    if (vgk == termsVgk && vsk == termsVsk) {
        return terms;
    }
    terms = {};
    if (vsk != 0.0f) {
        const double u = k.kp * (1.0 / k.mu + double(vgk) / double(vsk));
        const koren::SoftplusTerms softplus = koren::softplusTerms(u);
        terms = {softplus.softplus * double(vsk) / k.kp, softplus.softplus, softplus.logistic, 0.0};
    }
    terms.powered = std::pow(terms.e1, k.ex);
    termsVgk = vgk;
    termsVsk = vsk;
    return terms;
}

double NKPentodeAnodeCurrent::currentAt(scalar vgk, scalar vpk, scalar vsk) {
    const Terms& t = termsAt(vgk, vsk);
    const double sign = 0.0 > t.e1 ? -1.0 : 1.0;
    return std::atan(double(vpk) / k.kvb) * (t.powered / k.kg1 * (sign + 1.0));
}

void NKPentodeAnodeCurrent::setProperties(const Properties& properties) {
    k.read(properties, "NKPentodeAnodeCurrent");
    termsVgk = std::numeric_limits<scalar>::quiet_NaN();
}

scalar NKPentodeAnodeCurrent::getCurrent(scalar vgk, scalar vpk, scalar vsk) {
    return static_cast<scalar>(currentAt(vgk, vpk, vsk));
}

PentodeSlopes NKPentodeAnodeCurrent::getDerivatives(scalar vgk, scalar vpk, scalar vsk) {
    const Terms t = termsAt(vgk, vsk);
    const double sign = 0.0 > t.e1 ? -1.0 : 1.0;
    const double ratio = vpk / k.kvb;
    PentodeSlopes slopes;
    slopes.byVpk = static_cast<scalar>(t.powered * (sign + 1.0) /
                                       ((ratio * ratio + 1.0) * k.kg1 * k.kvb));
    if (vsk != 0.0f) {
        // The current with screen and anode exchanged, as the law's slopes are defined.
        const double swapped = currentAt(vgk, vsk, vpk);
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
