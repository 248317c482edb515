// The telescope procedures of the solver: read the pointing, synchronise after a solve, choose a
// telescope. They speak to whichever back end the identifier names (telescope_link.h).
#include "comun/errors.h"
#include "resultados/resumen.h"
#include "telescopio/telescope_link.h"
#include "telescopio/telescopio.h"

namespace tornel {
namespace {

constexpr Txt kChooseEs =
    "Debe seleccionar un driver ASCOM con la opción 'Varios', 'Seleccionar telescopio ASCOM ...'";
constexpr Txt kChooseFr =
    "Vous devez sélectionner un driver ASCOM avec l'option 'Autres', 'Choisir un télescope ASCOM ...'";
constexpr Txt kChooseEn =
    "You must choose an ASCOM driver for your telescope at the option 'Others', 'Choose an ASCOM "
    "telescope...'";

// "Error n = text ** procedure **", the report form of these procedures.
void ReportLinkError(Context& c, const std::string& text, Txt procedure) {
    const std::string report =
        "Error " + std::to_string(kErrAutomation) + " = " + text + " ** " + std::string(procedure) + " **";
    AvisoIdioma(c, report, report, report);
}

void TelescopeFailed(Context& c, const std::string& text, Txt procedure) {
    const std::string& id = c.gTelescopioAscom;
    AvisoIdioma(c, "Error del telescopio Ascom '" + id + "'. \n\n" + text,
                "Erreur du télescope Ascom '" + id + "'. \n\n" + text,
                "Error from the Ascom telescope '" + id + "'. \n\n" + text);
    ReportLinkError(c, text, procedure);
}

void NotTracking(Context& c) {
    const std::string& id = c.gTelescopioAscom;
    AvisoIdioma(
        c,
        "El telescopio: " + id + " no se pudo sincronizar.\n\nEl telescopio debe estar en modo seguimiento.",
        "Le telescope: " + id + " n'a pu être synchronisé.\n\nLe télescope doit être en mode suivi.",
        "The telescope: " + id + " can't be synchronized.\n\nThe telescope has to be in the tracking mode.");
}

}  // namespace

LinkWait LinkWaitOf(Context& c) {
    LinkWait wait;
    wait.limit = std::chrono::milliseconds(c.linkTimeoutMs);
    wait.pump = [&c] { c.platform.DoEvents(); };
    return wait;
}

void AscomLeeArDe(Context& c, int32_t& codigo) {
    codigo = 2;
    if (c.gTelescopioAscom.empty()) return;
    auto scope = CreateTelescope(c.gTelescopioAscom, LinkWaitOf(c));
    if (!scope) return;
    try {
        scope->SetConnected(true);
        if (!scope->Connected()) {
            codigo = 0;
            return;
        }
        const double ra = scope->RightAscension() * 15, dec = scope->Declination();
        c.gCentroBusquedaRA = ra;
        c.gCentroBusquedaDEC = dec;
        // Out of range, the link is let go only when the object is.
        if (!(ra >= 0 && ra <= 360)) {
            codigo = 3;
            return;
        }
        if (!(dec >= -90 && dec <= 90)) {
            codigo = 4;
            return;
        }
        scope->SetConnected(false);
        codigo = 0;
    } catch (const LinkError& e) {
        TelescopeFailed(c, e.what(), "AscomLeeArDe");
        codigo = 1;
    }
}

void AscomSyncTele(Context& c, int32_t& codigo) {
    codigo = 2;
    if (c.gTelescopioAscom.empty()) return;
    const std::string& id = c.gTelescopioAscom;
    auto scope = CreateTelescope(id, LinkWaitOf(c));
    if (!scope) {
        AvisoIdioma(c,
                    "No se pudo crear el objeto " + id +
                        ".\n\nDebe seleccionar un driver ASCOM con la opción 'Varios', 'Seleccionar "
                        "telescopio ASCOM ...'",
                    "L'objet " + id +
                        " n'a pu être créé.\n\nChoisisez un driver ASCOM à 'Autres', 'Choisir un "
                        "télescope ASCOM...'",
                    "Can't create the " + id +
                        " object.\n\nChoose an ASCOM driver for your telescope at 'Others', 'Choose an ASCOM "
                        "telescope...'");
        return;
    }
    try {
        scope->SetConnected(true);
        if (scope->Connected()) {
            if (!scope->Tracking()) {
                NotTracking(c);
            } else if (c.gSincroEquinoccioActual == 1) {
                scope->SyncToCoordinates(c.gARActual / 15, c.gDEActual);
            } else {
                scope->SyncToCoordinates(c.gARJ2000 / 15, c.gDEJ2000);
            }
        }
        scope->SetConnected(false);
        codigo = 0;
    } catch (const NotTrackingError&) {
        NotTracking(c);
        codigo = 0;
    } catch (const LinkError& e) {
        TelescopeFailed(c, e.what(), "AscomSyncTele");
        codigo = 1;
    }
}

void SincronizaAscom(Context& c) {
    int32_t codigo = 0;
    AscomSyncTele(c, codigo);
    if (codigo == 0) return;
    if (codigo == 2) {
        AvisoIdioma(c, kChooseEs, kChooseFr, kChooseEn);
        return;
    }
    LabelResul(c, c.mTitulo + "  No se pudo sincronizar el telescopio ASCOM. (Sincroniza)",
               c.mTitulo + "  Impossible de synchroniser le télescope ASCOM.(Synchro)",
               c.mTitulo + "  Can not synchronize the ASCOM telescope.(Synchronize)");
}

void Sincroniza(Context& c) {
    if (!c.gHaySolucion) return;
    switch (c.gTelescopioSincro) {
        case 1:
            SincronizaAscom(c);
            break;
        case 2:
            SincronizaCartesDuCielDDE(c);
            break;
        case 3:
            SincronizaDDE(c);
            break;
        default:
            AvisoIdioma(c, "Debe seleccionar el tipo de telescopio para sincronizar",
                        "Vous devez choisir le type de télescope à synchroniser",
                        "You must choose the telescope type to be synchronized");
    }
}

std::vector<std::pair<std::string, std::string>> TelescopesInReach(Context& c) {
    TelescopeSearch where;
    where.indiServers = c.indiServers;
    where.alpacaDiscoveryPort = c.alpacaDiscoveryPort;
    LinkWait wait = LinkWaitOf(c);
    // A collection window: every server answers on loopback within a few milliseconds.
    wait.limit = std::min(wait.limit, std::chrono::milliseconds(1000));
    std::vector<std::pair<std::string, std::string>> list;
    for (auto& e : ListTelescopes(where, wait))
        list.emplace_back(e.identifier, e.description);
    return list;
}

void AscomSelScope(Context& c) {
    try {
        auto list = TelescopesInReach(c);
        auto chosen = c.platform.ChooseFromList("Telescope", list, c.gTelescopioAscom);
        if (!chosen || chosen->empty()) return;
        c.gTelescopioAscom = *chosen;
        c.parametersChanged = true;
    } catch (const std::exception& e) {
        AvisoIdioma(c, "Error al seleccionar el telescopio ASCOM.",
                    "Erreur lors de la sélection du télescope ASCOM.", "ASCOM telescope selection error.");
        ReportLinkError(c, e.what(), "AscomSelScope");
    }
}

void AcceptTelescopeIdentifier(Context& c, const std::string& identifier) {
    c.gTelescopioAscom = identifier;
    c.parametersChanged = true;
}

bool mCoordenadasAscom_Click(Context& c) {
    PoneTitulo(c, "TORNEL");
    PoneLabelResultado(c, "");
    if (c.gOrigenCoordenadas == 5) return false;
    const std::string& id = c.gTelescopioAscom;
    if (id.empty()) {
        AvisoIdioma(c, kChooseEs, kChooseFr, kChooseEn);
        return false;
    }
    bool found = false;
    if (auto scope = CreateTelescope(id, LinkWaitOf(c))) {
        try {
            scope->SetConnected(true);
            found = true;
            scope->SetConnected(false);
        } catch (const LinkError&) {
        }
    }
    if (!found) {
        AvisoIdioma(c, "El driver " + id + " no está disponible.", "Le driver " + id + " n'a été trouvé.",
                    "The " + id + " driver was not found.");
        return false;
    }
    c.gOrigenCoordenadas = 5;
    return true;
}

}  // namespace tornel
