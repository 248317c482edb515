// Background brightness, sampled along the diagonals of the analysed area, and the threshold.
#include <cstdint>
#include <string>

#include "core/analisis.h"
#include "core/errors.h"
#include "core/numbers.h"
#include "imagen/imagen.h"
#include "resultados/resumen.h"

namespace tornel {

namespace {

class DiagonalSum {
  public:
    explicit DiagonalSum(const Context& c) : c_(c), stride_(static_cast<size_t>(c.gPixelesX) + 1) {}

    void Add(int32_t x, int32_t y) {
        if (x < 0 || y < 0 || x > c_.gPixelesX || y > c_.gPixelesY) Raise(kErrSubscript);
        sum_ += c_.mBrillo[static_cast<size_t>(y) * stride_ + static_cast<size_t>(x)];
        // The program keeps the sum in 32 bits.
        if (sum_ > INT32_MAX || sum_ < INT32_MIN) Raise(kErrOverflow);
        ++count_;
    }
    int32_t Mean() const {
        if (count_ == 0) Raise(kErrDivisionByZero);
        return ToLong(static_cast<double>(sum_) / static_cast<double>(count_));
    }

  private:
    const Context& c_;
    size_t stride_;
    int64_t sum_ = 0;
    int64_t count_ = 0;
};

bool OutsideRectangle(const Context& c, int32_t x, int32_t y) {
    return x > c.gXMax || x < c.gXMin || y > c.gYMax || y < c.gYMin;
}

}  // namespace

void CalculaBrilloDeFondoYumbral(Context& c) {
    if (c.mFinAnalisis) return;
    WithTrap(c, "CalculaBrilloDeFondoYumbral", [&] {
        DeterminaRectanguloDeAnalisis(c);
        if (c.mFinAnalisis) return;
        c.mBrilloFondo = 10000000;
        DiagonalSum sum(c);
        const int32_t w = c.gPixelesX, h = c.gPixelesY;
        auto imageDiagonal = [&](int32_t x) { return ToLong(static_cast<double>(x) * h / w); };
        if (c.gAreaImagen == 0) {
            c.platform.ClearRectangle();
            for (int32_t x = 1; x <= w; ++x) {
                int32_t y = imageDiagonal(x);
                sum.Add(x, y);
                sum.Add(x, h - y);
            }
        } else if (c.gAreaImagen == 1) {
            if (c.gXMin == c.gXMax) {
                c.mFinAnalisis = true;
                return;
            }
            double span = c.gXMax - c.gXMin;
            double a = (c.gYMax - c.gYMin) / span;
            double b =
                (static_cast<double>(c.gYMin) * c.gXMax - static_cast<double>(c.gYMax) * c.gXMin) / span;
            for (int32_t x = c.gXMin; x <= c.gXMax; ++x) {
                int32_t y = ToLong(a * x + b);
                sum.Add(x, y);
                sum.Add(x, c.gYMin + c.gYMax - y);
            }
        } else if (c.gAreaImagen == 2) {
            for (int32_t x = 1; x <= w; ++x) {
                int32_t y = imageDiagonal(x);
                if (OutsideRectangle(c, x, y)) sum.Add(x, y);
                if (OutsideRectangle(c, x, h - y)) sum.Add(x, h - y);
            }
        }
        c.mBrilloFondo = sum.Mean();
        c.mBrilloUmbral = ToLong((c.gBrilloMaximo - c.mBrilloFondo) * c.gUmbral + c.mBrilloFondo);
        std::string f = std::to_string(c.mBrilloFondo), m = std::to_string(c.gBrilloMaximo),
                    u = std::to_string(c.mBrilloUmbral);
        ParaResumen(
            c, "Brillo de fondo = " + f + " Brillo maximo = " + m + "  Brillo de umbral inicial = " + u,
            "Intensité du fond = " + f + " Intensité maxi = " + m + "  Intensité initiale du seuil = " + u,
            "Background brightness = " + f + " Maximal brightness = " + m +
                "  Initial threshold brightness = " + u);
    });
}

}  // namespace tornel
