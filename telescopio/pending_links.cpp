// Stand-ins until the telescope and planetarium links land: neither answers nor is moved.
#include "telescopio/telescopio.h"

namespace tornel {

int LeeCentroBusquedaDeCartesDuCielDDE(Context&) {
    return 1;
}

int LeeCoordenadasTelescopio(Context& c, double&, double&) {
    return c.gTelescopioAscom.empty() ? 2 : 1;
}

void Sincroniza(Context&) {}

}  // namespace tornel
