#pragma once
// State of the telescope and planetarium links: the camera and telescope setups of telescop.txt,
// the time limit of every network wait, and the served centre.
#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace tornel {

// One setup of telescop.txt: the name shown in the menu, its scale and its image angle.
struct TelescopeSetup {
    std::string name;
    double segundosPorPixel = 0;
    double angulo = 0;
    bool present = false;
};

struct TelescopeState {
    // Entries 1 to 10 of the menu array mTele; element 0 is a margin.
    std::array<TelescopeSetup, 11> mTele{};
    // The menu mTelescopio is shown when telescop.txt was found; the entry checked, 0 for none.
    bool mTelescopioVisible = false;
    int16_t mTeleMarcado = 0;

    // The longest any link waits for one answer of a server, in milliseconds.
    int32_t linkTimeoutMs = 3000;
    // INDI servers (host:port) the chooser asks, besides Alpaca discovery.
    std::vector<std::string> indiServers{"127.0.0.1:7624"};
    uint16_t alpacaDiscoveryPort = 32227;

    // The planetarium's TCP server for the chart centre and the move.
    std::string planetarium = "cdc://127.0.0.1:3292";
    // How long the planetarium is given to answer for its chart centre.
    int32_t planetariumWaitMs = 5000;
    // The last text read from the planetarium; "erroneo" while nothing has come.
    std::string LabelDDEciel;
    // The text served to clients of the line service ("ALI AR=... DE=...").
    std::string LabelDDE;
    // The line service: port (0 = off) and the descriptors of its socket and clients.
    uint16_t lineServicePort = 0;
    int lineServiceSocket = -1;
    std::vector<int> lineServiceClients;
    std::vector<std::string> lineServicePending;  // partial lines, one per client
    // The last target received by "POS", relative to the image centre in image pixels.
    double destinoDDEX = 0, destinoDDEY = 0;
    bool hayDestinoDDE = false;
    // The same target as received, degrees: the guidance and the target mark use it.
    double destinoDDERA = 0, destinoDDEDEC = 0;
};

}  // namespace tornel
