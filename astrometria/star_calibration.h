#pragma once
// Star calibration: the focal length in pixels, the pixel scale and the image angle from two stars
// whose sky positions are known and whose pixels the user pointed at, and whether the image is
// mirrored from three. The calibration windows hold a StarCalibration and call these.
#include <cstdint>

#include "comun/context.h"

namespace tornel {

// What a calibration window holds and shows.
struct StarCalibration {
    double mAspecto = 1;                        // pixel width over pixel height
    double mXa = 0, mYa = 0, mXb = 0, mYb = 0;  // pixels of stars A and B, y divided by mAspecto
    int32_t mFocal = 0;                         // focal length, pixels
    double mAnguloCamara = 0;                   // image angle, degrees
    int16_t mInvertida = 0;                     // 1 when the image is mirrored against gImagenInvertida
    double segundosPorPixelX = 0, segundosPorPixelY = 0;  // arc seconds per pixel
    double minutosAltoImagen = 0;                         // the image height, minutes of arc
};

// A star pointed at on the image (pixels, y as the image holds it) and its catalogue place (degrees).
struct CalibrationStar {
    double x = 0, y = 0;
    double ra = 0, dec = 0;
};

enum CalibrationCode : int32_t {
    kCalibracionHecha = 0,
    kCalibracionEstrellasCercanas = 1,  // the stars are less than 0.1 degree apart: nothing changes
    kCalibracionSinFocal = 2,           // no focal length between H/2 and 2000 H fits the stars
    kCalibracionError = 3               // reported by the trap
};

// Focal length, scale and image angle from stars A and B of an image `ancho` x `alto` pixels: the
// focal length by bisection on the angle the two pixels subtend at the eye, the angle from the
// direction of AB on the screen and on the sky. Sets gAnchoImagen and gAltoImagen (square pixels).
// Answers a CalibrationCode; the too-close stars and the focal length out of range are told.
int32_t CalibrarConCoordenadasDeEstrellas(Context& c, StarCalibration& k, const CalibrationStar& a,
                                          const CalibrationStar& b, double ancho, double alto);

// The three-star form: the pair farthest apart on the screen is calibrated, and the three decide
// whether the image is mirrored against gImagenInvertida (k.mInvertida).
int32_t CalibrarConTresEstrellas(Context& c, StarCalibration& k, const CalibrationStar& a,
                                 const CalibrationStar& b, const CalibrationStar& d, double ancho,
                                 double alto);

// Determinant of the sky unit vectors of three positions (degrees), rows in that order.
double ProductoVectorialCielo(const Context& c, double ra1, double dec1, double ra2, double dec2, double ra3,
                              double dec3);
// Whether the image shows the sky mirrored, relative to gImagenInvertida: gImagenInvertida when the
// screen triangle ABC (y divided by mAspecto) and the sky triangle turn in opposite senses, else its
// opposite.
int16_t DeterminaInvertida(const Context& c, const StarCalibration& k, const CalibrationStar& a,
                           const CalibrationStar& b, const CalibrationStar& d);

}  // namespace tornel
