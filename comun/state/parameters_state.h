#pragma once
// The user's choices, as kept in param.txt and its profiles.
#include <cstdint>
#include <string>

namespace tornel {

struct ParameterState {
    int32_t gTrabajo = 2;
    int32_t gFocalEnPixeles = 133928;
    int32_t gIdioma = 0;
    double gUmbral = 0.5;
    int32_t gPerimetroMin = 10;
    int32_t gPerimetroMax = 100;
    int16_t gMaxContornos = 20;
    int16_t gEstrellasSeleccionar = 10;
    int16_t gPorcentajeError = 2;
    double gErrorDistancias = 0.02;
    int16_t gErrorInclinacion = 1;
    double gAnchoVentana = 5;
    double gAltoVentana = 5;
    std::string gRutaImagen;
    std::string gExtensionImagen;
    std::string gNombreImagen;
    double gAnguloImagen = 0;
    std::string gCarpetaDistancias;
    std::string gCarpetaEstrellas;
    std::string gTipoImagen = "fit";
    int16_t gOrigenCoordenadas = 1;
    int16_t gUmbralAutomatico = 0;
    int16_t gAnilloDesde = 0;
    int16_t gAnilloHasta = 10;
    int16_t gNegroBMP = 1;
    int16_t gBlancoBMP = 130;
    int32_t gNegroFit = 1;
    int32_t gBlancoFit = 12000;
    std::string gTelescopioAscom;
    int16_t gTelescopioSincro = 0;
    int16_t gOrigenImagen = 0;
    std::string gCarpetaMensajes;
    int32_t gLadosParaParar = 20;
    int16_t gImagenInvertida = 0;
    int16_t gLadosParaSincro = 20;
    int16_t gSincroAutomatica = 0;
    bool gMostrarAvisos = true;
    int16_t gSincroEquinoccioActual = 0;
    int32_t gTipoVentana = 0;
    double gCentroCombosRA = 0;
    double gCentroCombosDEC = 0;
    int32_t gLadosParaWCS = 20;
    int32_t gWCSAutomatico = 0;
    int32_t gVentanaArriba = 0;
    int32_t gVentanaIzquierda = 0;
    int32_t gVentanaAncho = 0;
    int32_t gVentanaAlto = 0;
    double gSegundosPorPixelX = 0;
    double gSegundosPorPixelY = 0;
    double gLongitud = 0;
    double gLatitud = 0;
    double gZonaHoraria = 0;
    double gHorizonte = 0;
    bool gAvisosGuiado = true;
    int32_t gTamanioAvisos = 1;
    int16_t gMontura = 0;
    bool gSoloCieloVisible = false;
    bool gDestinoJ2000 = true;
    int32_t gFactorReduccion = 1;

    // Derived from the scale.
    double gMinutosPorPixel = 0;
    double gGradosPorPixel = 0;
    double gRelacionPixel = 1;
    double gRelacionPixel2 = 1;
};

}  // namespace tornel
