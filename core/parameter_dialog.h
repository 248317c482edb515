#pragma once
// The checks of the parameter dialog, as functions over the texts of its fields. The dialog
// itself only copies its controls into these records and moves the focus to the field named.
#include <string>

#include "comun/context.h"

namespace tornel {

// The plain page of the dialog.
struct CamposParametros {
    std::string VeoAnguloPixelX, VeoAnguloPixelY;
    std::string VeoLadosSuficientes, VeoLadosSincro, VeoLadosWCS;
    std::string VeoNorteCamara;
    std::string VeoCarpetaBDdistancias, VeoCarpetaBdEstrellas, VeoCarpetaAutomatico;
    std::string VeoLongitud, VeoLatitud, VeoZonaH, VeoHorizonte, VeoTamanioAvisos;
    bool CheckImagenInvertida = false;
    bool CheckSincronizaTelescopio = false;
    bool CheckQuitarMsgBox = false;  // ticked: no message boxes
    bool CheckSincronizaEquinoccio = false;
    bool CheckPonerWCSenCabecera = false;
    int OptionBD = 1;  // OptionBD1, OptionBD2 or OptionBD3
    bool OptionAltaz = false;
};

// The advanced page.
struct CamposAvanzados {
    std::string VeoMargenDistancia, VeoMargenInclinacion, VeoVentanaAncho, VeoVentanaAlto;
    int HScrollNumEstrellas = 10;
    int HScrollPerimetro = 100;
};

// Outcome of an accept: ok, or the field that failed (it gets the focus) after its message.
struct Aceptacion {
    bool ok = false;
    std::string campo;
};

// The fields as the dialog shows them when it opens.
CamposParametros FormParametros_Load(const Context& c);
CamposAvanzados FormParametrosAvanzados_Load(const Context& c);

// Checks the fields in order; a failed check shows its message and stops, the fields before it
// stay changed. On success the start-up checks run again and param.txt is written.
Aceptacion AceptaParametros(Context& c, const CamposParametros& f);
Aceptacion AceptaParametrosAvanzados(Context& c, const CamposAvanzados& f);
// Factory values of the advanced page, accepted at once.
Aceptacion CommandoFabrica_Click(Context& c);

// Profiles: a copy of param.txt under a name of the user's. Saving writes param.txt first; loading
// checks the file, copies it over param.txt, reads it and applies it.
bool PerfilSalvar(Context& c, const std::string& destino);
bool PerfilCargar(Context& c, const std::string& origen);
// The same through the file dialogs of the platform.
void mPerfilSalvar_Click(Context& c);
void mPerfilCargar_Click(Context& c);

}  // namespace tornel
