#pragma once
// What the star calibration windows check before they compute and what they keep after: the pixel
// shape, the star identifiers and the typed coordinates, the star picked with the mouse, and the
// results written into the parameters. The windows copy their controls into a CalibrationForm and
// show what these answer; nothing here needs a window.
#include <array>
#include <cstdint>
#include <optional>
#include <string>

#include "astrometria/star_calibration.h"
#include "comun/context.h"

namespace tornel {

// The controls of `FormCalibrar` (two stars) and `FormCalibrar3` (three), as texts.
struct CalibrationForm {
    bool tresEstrellas = false;
    bool cuadrado = true;               // `OptionCuadrado`, else `OptionRectangular`
    std::string anchoPixel, altoPixel;  // `VeoAnchoPixel`, `VeoAltoPixel`
    bool coordenadas = true;            // `OptionCoordenadas`, else `OptionGSC`: star numbers
    std::array<std::string, 3> numero;  // `VeoEstrellaA`, `VeoEstrellaB`, `VeoEstrellaC`
    // Per star: hours, minutes, seconds of right ascension; degrees, minutes, seconds of declination
    // (`VeoEstrellaAh` ... `VeoEstrellaAsa`).
    std::array<std::array<std::string, 6>, 3> coordenada;
};

// The name of the control that a refusal puts the focus back on: "VeoAnchoPixel", "VeoEstrellaB",
// "VeoEstrellaCga", ...
std::string CoordinateControl(int star, int field);
std::string NumberControl(int star);

// pixel width over pixel height: 1 for square pixels; "Not reasonable values" and nothing when the
// sizes are not numbers between 0.1 and 100 micrometres or differ by more than four times.
std::optional<double> PixelAspect(Context& c, const CalibrationForm& f, std::string& control);

// A star identifier typed by the user as the working number of the star file in force: "158 254"
// (region and star) when the database numbers its stars so, "U2 0075.00352056" otherwise. Every
// refusal is told ("... No calibration done.") and answers 0. `letra` is "A", "B" or "C".
int32_t VeoEstrella_a_IDnumeroRegistro(Context& c, const std::string& texto, const std::string& letra);

// The star numbers of the form looked up in the star file; false, told, when one is refused or not
// found. The places go to stars[0..n-1] (x, y untouched).
bool EntradasDeEstrellasOK(Context& c, const CalibrationForm& f, std::array<CalibrationStar, 3>& stars,
                           std::string& control);
// The typed right ascensions and declinations: hours 0-23, minutes and seconds 0-59.999, degrees
// -90 to 90 with the sign on the degrees; "Invalid value" for the first control that fails.
bool EntradasDeCoordenadasOK(Context& c, const CalibrationForm& f, std::array<CalibrationStar, 3>& stars,
                             std::string& control);
// "Invalid value" in the language in force.
void MensajeEntradaNoValida(Context& c);

// `CommandoCalibrar_Click`: the pixel shape, the stars clicked (mCalibracionX1 ..., rows as loaded with
// gImagenInvertida), the entries, and the computation on an image `ancho` x `alto`. When three stars
// show the other reversed setting right, the angle is measured again on the rows as that setting
// loads them, so that the angle and the setting saved together agree. Answers a CalibrationCode; on a
// refusal `control` names the control to go back to (empty when the refusal is not one control's).
int32_t CalibraFormulario(Context& c, const CalibrationForm& f, StarCalibration& k, double ancho, double alto,
                          std::string& control);

// `CommandoGuardar_Click`: the focal length, scale and image angle found become the parameters in
// force, the mirror too from three stars; the parameters are marked changed, for the caller to save.
void GuardaCalibracion(Context& c, const StarCalibration& k, bool tresEstrellas);

// `EstrellaClick`: the selected star within 5 pixels of the click (engine frame: x from 1, y up from
// the bottom) becomes star `letra` ("a", "b" or "c") of the calibration. Its position, or nothing with
// "There is no selected star near the click.".
struct PickedStar {
    double x = 0, y = 0;
};
std::optional<PickedStar> EstrellaClick(Context& c, const std::string& letra, double x, double y);

}  // namespace tornel
