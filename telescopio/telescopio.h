#pragma once
// The telescope and planetarium links as the rest of the program calls them.
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "comun/context.h"
#include "telescopio/link_wait.h"

namespace tornel {

// The wait every link of this context uses: its time limit, and the event pump meanwhile.
LinkWait LinkWaitOf(Context& c);

// Sends the solution to the telescope or planetarium chosen by gTelescopioSincro.
void Sincroniza(Context& c);

// The telescope of gTelescopioAscom. Codes: AscomLeeArDe 0 read, 1 the link failed (reported),
// 2 no telescope chosen or unknown identifier, 3 RA out of range, 4 DEC out of range;
// AscomSyncTele 0 done or refused with its own message, 1 the link failed, 2 no telescope.
void AscomLeeArDe(Context& c, int32_t& codigo);
void AscomSyncTele(Context& c, int32_t& codigo);
void SincronizaAscom(Context& c);
// Lists the telescopes in reach and lets the user pick one (the platform's list choice); the
// choice is kept in gTelescopioAscom and saved.
void AscomSelScope(Context& c);
// The telescopes the chooser offers, as identifiers with a description.
std::vector<std::pair<std::string, std::string>> TelescopesInReach(Context& c);
// Makes the telescope the source of the search centre when it answers; true when the source changed.
bool mCoordenadasAscom_Click(Context& c);
// The identifier typed by hand in FormSelCOM, kept and saved.
void AcceptTelescopeIdentifier(Context& c, const std::string& identifier);

// The planetarium (Cartes du Ciel over its TCP server).
int LeeCentroBusquedaDeCartesDuCielDDE(Context& c);
// The centre label from the chart's replies to GETRA F, GETDEC F and GETFOV F ("OK! 5.58814"):
// "RA:05h35m17.30s DEC:-05d23m28.0s FOV:+..."; empty when the chart answered a bare "OK!", "erroneo"
// for any other reply or a value out of its range.
std::string ChartCentreLabel(const std::string& raReply, const std::string& decReply,
                             const std::string& fovReply);
// The right ascension and declination (degrees) of a centre label; false when it holds none.
bool ChartCentreOfLabel(const std::string& label, double& ra, double& dec);
void SincronizaCartesDuCielDDE(Context& c);
// The move command for the solved centre, in the equinox chosen by gSincroEquinoccioActual.
void FabricaMovimientoCdC(Context& c, std::string& texto);

// The served centre: "ALI AR=... DE=..." published to the clients of the line service.
void SincronizaDDE(Context& c);
// A command of a client ("POS ..." or "CEN ..."); any other is ignored.
void Form_LinkExecute(Context& c, const std::string& comando, bool& cancelar);

// telescop.txt: the setups read at start-up, and the one the user applies.
void CargaTelescopios(Context& c);
void mTele_Click(Context& c, int indice);
// The caption of a setup in the Telescope menu.
std::string TelescopeCaption(const TelescopeSetup& setup);

}  // namespace tornel
