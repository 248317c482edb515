// Background brightness, sampled along the diagonals of the analysed area, and the threshold.
#include <cstdint>
#include <string>

#include "busqueda/pattern_search.h"
#include "comun/errors.h"
#include "comun/numbers.h"
#include "imagen/imagen.h"
#include "resultados/resumen.h"

namespace tornel {

void DeterminaRectanguloDeAnalisis(Context& c) {
    WithTrap(c, "DeterminaRectanguloDeAnalisis", [&] {
        bool fromMessage = c.gOrigenImagen == 5;
        int32_t x1 = fromMessage ? c.mMensajeX1 : c.mRectanguloX1,
                x2 = fromMessage ? c.mMensajeX2 : c.mRectanguloX2;
        int32_t y1 = fromMessage ? c.mMensajeY1 : c.mRectanguloY1,
                y2 = fromMessage ? c.mMensajeY2 : c.mRectanguloY2;
        if (c.gAreaImagen == 1 || c.gAreaImagen == 2) {
            c.gXMin = std::min(x1, x2);
            c.gXMax = std::max(x1, x2);
            c.gYMin = std::min(y1, y2);
            c.gYMax = std::max(y1, y2);
        } else {
            c.gXMin = 1;
            c.gXMax = c.gPixelesX;
            c.gYMin = 1;
            c.gYMax = c.gPixelesY;
        }
        c.gXMin = std::max(c.gXMin, 1);
        c.gYMin = std::max(c.gYMin, 1);
        c.gXMax = std::min(c.gXMax, c.gPixelesX);
        c.gYMax = std::min(c.gYMax, c.gPixelesY);
        if (c.gXMax - c.gXMin < 20 || c.gYMax - c.gYMin < 20) {
            c.gAreaImagen = 0;
            c.gXMin = 1;
            c.gXMax = c.gPixelesX;
            c.gYMin = 1;
            c.gYMax = c.gPixelesY;
        }
        c.patternArea = c.gAreaImagen;
        c.patternXMin = c.gXMin, c.patternXMax = c.gXMax, c.patternYMin = c.gYMin, c.patternYMax = c.gYMax;
        if (!c.mSoloExtraer && !PatternsGoFirst(c) && (c.gAreaImagen == 0 || c.gAreaImagen == 1)) {
            // A wide field is analysed only in its central part: the database resolves small fields.
            double half = c.gLadoMaximoGrados / (2.0 * c.gGradosPorPixel);
            if ((c.gXMax - c.gXMin) * c.gGradosPorPixel > c.gLadoMaximoGrados) {
                c.gAreaImagen = 1;
                double centre = (c.gXMin + c.gXMax) / 2.0;
                c.gXMin = ToLong(centre - half);
                c.gXMax = ToLong(centre + half);
            }
            if ((c.gYMax - c.gYMin) * c.gGradosPorPixel > c.gLadoMaximoGrados) {
                c.gAreaImagen = 1;
                double centre = (c.gYMin + c.gYMax) / 2.0;
                c.gYMin = ToLong(centre - half);
                c.gYMax = ToLong(centre + half);
            }
        }
        if (c.gAreaImagen == 1 || c.gAreaImagen == 2) {
            double f = c.gFactorReduccion;
            c.platform.DrawRectangle(c.gXMin / f, (c.gPixelesY - c.gYMax) / f, c.gXMax / f,
                                     (c.gPixelesY - c.gYMin) / f);
            c.mTextoRectangulo = "xMin= " + std::to_string(c.gXMin) + "   xMax= " + std::to_string(c.gXMax) +
                                 "   yMin= " + std::to_string(c.gYMin) +
                                 "   yMax= " + std::to_string(c.gYMax);
        } else {
            c.platform.ClearRectangle();
        }
    });
}

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
