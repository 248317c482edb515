// tornel.pos, tornel.aqi and tornel.sta as another program reads them: Latin-1 bytes, CR LF, the
// line formats of a solution and of none, and every status word.
#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <ctime>
#include <string>
#include <vector>

#include "comun/files.h"
#include "core/parametros.h"
#include "resultados/status_files.h"
#include "tests/support/test_program.h"

namespace tornel {
namespace {

using testing::TestProgram;

// A program with a mailbox folder and its clock at 2026-11-22 21:05:09 local time.
struct StatusProgram : TestProgram {
    StatusProgram() {
        c.gCarpetaMensajes = home.MakeFolder("messages");
        std::tm tm{};
        tm.tm_year = 126, tm.tm_mon = 10, tm.tm_mday = 22, tm.tm_hour = 21, tm.tm_min = 5, tm.tm_sec = 9;
        tm.tm_isdst = -1;
        auto t = std::chrono::system_clock::from_time_t(std::mktime(&tm));
        platform.now = [t] { return t; };
    }
    std::vector<std::string> Lines(const std::string& name) const {
        std::string bytes = home.Read("messages/" + name);
        std::vector<std::string> lines;
        for (size_t at = 0; at < bytes.size();) {
            size_t end = bytes.find("\r\n", at);
            EXPECT_NE(end, std::string::npos) << "every line ends in CR LF";
            if (end == std::string::npos) break;
            lines.push_back(bytes.substr(at, end - at));
            at = end + 2;
        }
        return lines;
    }
    void Solve(double ar, double de, double angle) {
        c.gHaySolucion = true;
        c.gARJ2000 = ar, c.gDEJ2000 = de;
        c.gARActual = ar + 0.25, c.gDEActual = de - 0.1;
        c.mAnguloSolucion = angle;
    }
};

const std::string kStamp = "20261122 21:05:09";
const std::string kDeg = "\xB0";  // the degree sign as one Latin-1 byte

TEST(StatusFiles, SolutionInEnglishAndSpanish) {
    StatusProgram p;
    p.Solve(83.8221, -5.3911, 12.346);
    p.c.mEstrellasDesdeReferencia = 7, p.c.mDeltaXReferencia = -1.5, p.c.mDeltaYReferencia = 0.25;
    p.c.mEstrellasDesdeAnterior = 12, p.c.mDeltaXAnterior = 3, p.c.mDeltaYAnterior = -120.456;
    GrabaTornelPos(p.c, 1, 12);
    EXPECT_EQ(p.Lines("tornel.pos"),
              (std::vector<std::string>{
                  "012 sides RA= 083.8221 DE=-05.3911 RA=05h35.3m DE= -05" + kDeg + "23' " + kStamp +
                      " J2000  coor",
                  "012 sides RA= 084.0721 DE=-05.4911 RA=05h36.3m DE= -05" + kDeg + "29' " + kStamp +
                      " actual coor",
                  "image angle= +012.35",
                  "image shift for 07 stars: deltaX= -001.50 pixels. deltaY= +000.25 pixels from reference",
                  "image shift for 12 stars: deltaX= +003.00 pixels. deltaY= -120.46 pixels from previous ",
              }));
    std::vector<std::string> aqi = p.Lines("tornel.aqi");
    ASSERT_EQ(aqi.size(), 5u);
    EXPECT_EQ(aqi[0], "012 lados AR= 083.822 DE= -05.391 AR= 05h35.3m DE= -05" + kDeg + "23' " + kStamp +
                          " J2000  coor");
    EXPECT_EQ(aqi[1], "012 lados AR= 084.072 DE= -05.491 AR= 05h36.3m DE= -05" + kDeg + "29' " + kStamp +
                          " actual coor");
    EXPECT_EQ(aqi[2], "image angle= +012.35");
}

TEST(StatusFiles, SignsRoundingAndWideValues) {
    StatusProgram p;
    // Declination 0 takes "+" in both fields; -0.01 degrees of angle is 359.99; 359.99 degrees of RA
    // passes 59.95 minutes and steps to 24h; more than 999 sides keep all their digits.
    p.Solve(359.99, 0, -0.01);
    GrabaTornelPos(p.c, 1, 1234);
    std::vector<std::string> pos = p.Lines("tornel.pos");
    EXPECT_EQ(pos[0], "1234 sides RA= 359.9900 DE=+00.0000 RA=24h00.0m DE= +00" + kDeg + "00' " + kStamp +
                          " J2000  coor");
    EXPECT_EQ(pos[2], "image angle= +359.99");
    // Arcminutes are cut, not rounded: 0.99999 degrees is 0 degrees 59 minutes.
    p.Solve(10, -0.99999, 0);
    GrabaTornelPos(p.c, 1, 5);
    EXPECT_NE(p.Lines("tornel.pos")[0].find("DE= -00" + kDeg + "59' "), std::string::npos);
}

TEST(StatusFiles, NoSolutionAndOtherKinds) {
    StatusProgram p;
    p.Solve(83.8, -5.4, 10);
    GrabaTornelPos(p.c, 0, 0);
    std::vector<std::string> pos = p.Lines("tornel.pos"), aqi = p.Lines("tornel.aqi");
    EXPECT_EQ(pos[0], "000 sides RA= 000.0000 DE= 00.0000 RA=00h00.0m DE= +00" + kDeg + "00' " + kStamp +
                          " J2000  coor");
    EXPECT_EQ(pos[1], "000 sides RA= 000.0000 DE= 00.0000 RA=00h00.0m DE= +00" + kDeg + "00' " + kStamp +
                          " today  coor");
    EXPECT_EQ(pos[2], "image angle= +000.00");
    EXPECT_EQ(aqi[0], "000 lados AR= 000.000 DE=  00.000 AR= 00h00.0m DE= +00" + kDeg + "00' " + kStamp +
                          " J2000  coor");
    EXPECT_EQ(aqi[1], "000 lados AR= 000.000 DE=  00.000 AR= 00h00.0m DE= +00" + kDeg + "00' " + kStamp +
                          " actual coor");
    GrabaTornelPos(p.c, 7, 0);
    pos = p.Lines("tornel.pos");
    ASSERT_EQ(pos.size(), 5u);
    EXPECT_EQ(pos[0] + pos[1] + pos[2], "");
    EXPECT_EQ(pos[4],
              "image shift for 00 stars: deltaX= +000.00 pixels. deltaY= +000.00 pixels from previous ");
}

TEST(StatusFiles, StatusLinesForEveryState) {
    StatusProgram p;
    p.c.gZonaCielo = 8;
    ExtraeNombreDeRuta(p.c, p.home.File("pi\xC3\xB1"
                                        "a,1.fit"));  // UTF-8 inside, Latin-1 in the file
    struct Case {
        int32_t estado;
        int16_t origen;
        std::string word;
        bool image;
    };
    for (const Case& k : std::vector<Case>{{1, 0, "solution found", true},
                                           {2, 3, "solution not found", true},
                                           {4, 5, "analysing the image ...", true},
                                           {3, 0, "manual mode. waiting ...", false},
                                           {3, 2, "manual mode. waiting ...", false},
                                           {3, 4, "not implemented mode. waiting ...", false},
                                           {3, 7, "not implemented mode. waiting ...", false},
                                           {3, 5, "automatic mode. Waiting for a message...", false},
                                           {3, 6, "automatic mode. Waiting for an image...", false},
                                           {3, 9, "", false},
                                           {0, 5, "unknown status", false}}) {
        p.c.gOrigenImagen = k.origen;
        p.Solve(200.5, 45.25, 90);
        if (k.estado == 1) p.c.mUltimoComando = "GET   x", p.c.mUltimoValor = "1,5";
        GrabaTornelSta(p.c, k.estado, 21);
        std::vector<std::string> sta = p.Lines("tornel.sta");
        ASSERT_EQ(sta.size(), 10u);
        char head[100];
        std::snprintf(head, sizeof head, "lines: 010 time: %s mode=%02d skyArea=08 status=%02d",
                      kStamp.c_str(), k.origen, k.estado);
        EXPECT_EQ(sta[0], head);
        EXPECT_EQ(sta[1], k.word);
        // The path's comma becomes a point, as in every line but the last two.
        EXPECT_EQ(sta[2], "image: " + (k.image ? p.home.Path() + "pi\xF1"
                                                                 "a.1.fit"
                                               : std::string{}));
        if (k.estado == 1) {
            EXPECT_EQ(sta[3].substr(0, 40), "021 sides RA= 200.5000 DE=+45.2500 RA=13");
        } else if (k.estado == 2) {
            EXPECT_EQ(sta[5], "image angle= +000.00");
        } else {
            EXPECT_EQ(sta[3] + sta[4] + sta[5], "");
        }
        EXPECT_EQ(sta[6].substr(0, 17), "image shift for 0");
        EXPECT_EQ(sta[8], "command= " + std::string(k.estado == 1 ? "GET   x" : ""));
        EXPECT_EQ(sta[9], "  value= " + std::string(k.estado == 1 ? "1,5" : ""));  // as it came, once
    }
}

TEST(StatusFiles, AMissingFolderSilencesTheStatusButFailsThePosition) {
    StatusProgram p;
    p.c.gCarpetaMensajes = p.home.Path() + "absent/";
    GrabaTornelSta(p.c, kEstadoEsperando, 0);
    EXPECT_TRUE(p.platform.messages.empty());
    EXPECT_FALSE(p.c.mFinAnalisis);
    GrabaTornelPos(p.c, 0, 0);
    EXPECT_TRUE(p.c.mFinAnalisis);
    ASSERT_EQ(p.platform.messages.size(), 1u);
    EXPECT_NE(p.platform.messages[0].find("GrabaTornelPos"), std::string::npos);
    EXPECT_FALSE(FolderExists(p.c.gCarpetaMensajes));
}

}  // namespace
}  // namespace tornel
