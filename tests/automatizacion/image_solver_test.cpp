// The automation object's members over a context, where a test can set what no client can: a
// solution with few sides, the state behind a read. The same members over the bus are tested in
// tests/servicio.
#include <gtest/gtest.h>

#include <fstream>
#include <map>
#include <regex>
#include <string>

#include "automatizacion/image_solver.h"
#include "tests/support/recording_platform.h"

namespace tornel {
namespace {

using testing::RecordingPlatform;

class ImageSolverTest : public ::testing::Test {
  protected:
    SolverValue Read(const char* name) { return ReadSolverProperty(c, *FindSolverProperty(name)); }
    void Write(const char* name, SolverValue v) { WriteSolverProperty(c, *FindSolverProperty(name), v); }
    // The refusal's description, or "" when the member did not refuse.
    template <class F>
    std::string Refusal(F&& f) {
        try {
            f();
        } catch (const SolverFault& fault) {
            return std::to_string(fault.numero) + fault.descripcion;
        }
        return "";
    }

    RecordingPlatform platform;
    Context c{platform};
};

TEST_F(ImageSolverTest, EstimatedCentreIsStoredInDegreesAndMarkedAsTheClients) {
    Write("EstimatedRA", 24.0);
    EXPECT_DOUBLE_EQ(c.gCentroBusquedaRA, 360);
    EXPECT_TRUE(c.gCoordenadasScript);
    EXPECT_DOUBLE_EQ(std::get<double>(Read("EstimatedRA")), 24);
    Write("EstimatedCoordinatesFrom", int32_t{0});
    EXPECT_FALSE(c.gCoordenadasScript);
    Write("EstimatedDEC", -90.0);
    EXPECT_TRUE(c.gCoordenadasScript);
    EXPECT_EQ(Refusal([&] { Write("EstimatedDEC", 90.5); }),
              "101 Error 101: estimatedDEC: value out of range");
    // Ring limits are rounded to even.
    Write("SkyRingFromDec", 2.5);
    Write("SkyRingToDec", 3.5);
    EXPECT_EQ(c.gAnilloDesde, 2);
    EXPECT_EQ(c.gAnilloHasta, 4);
}

TEST_F(ImageSolverTest, SolvedNeedsTheSidesAskedForWhileSidesTellsThemAnyway) {
    c.gHaySolucion = true;
    c.gLadosSolucion = 12;
    c.gLadosParaParar = 20;
    c.gARJ2000 = 45;
    EXPECT_EQ(std::get<int32_t>(Read("Sides")), 12);
    EXPECT_FALSE(std::get<bool>(Read("Solved")));
    EXPECT_EQ(Refusal([&] { Read("RightAscension"); }),
              "103 Error 103: RightAscension: Not available. Image not solved");
    Write("StopSearchingWhenSides", int32_t{10});
    EXPECT_TRUE(std::get<bool>(Read("Solved")));
    EXPECT_DOUBLE_EQ(std::get<double>(Read("RightAscension")), 3);
    c.gAnalizando = true;
    EXPECT_EQ(Refusal([&] { Read("Sides"); }), "105 Error 105: Sides: can't be read while analyzing");
    EXPECT_EQ(std::get<bool>(Read("Busy")), true);
}

TEST_F(ImageSolverTest, ImagePathIsTestedBeforeTheBusyTestAndStoredAsItComes) {
    c.gAnalizando = true;
    EXPECT_EQ(Refusal([&] { Write("ImagePath", std::string("a")); }),
              "107 Error 107: ImagePath: invalid image path");
    EXPECT_EQ(Refusal([&] { Write("ImagePath", std::string("/x/m 39.FIT")); }),
              "102 Error 102: ImagePath: can't be done while analyzing");
    c.gAnalizando = false;
    Write("ImagePath", std::string("/x/m 39.FIT"));
    EXPECT_EQ(c.gRutaImagen, "/x/m 39.FIT");
    EXPECT_EQ(c.gNombreImagen, "m 39.FIT");
}

TEST_F(ImageSolverTest, ScaleAndFocalFollowTheMessageKeys) {
    Write("ArcSecPerPixel", 2.0);
    EXPECT_DOUBLE_EQ(c.gSegundosPorPixelY, 2.0);
    EXPECT_DOUBLE_EQ(c.gGradosPorPixel, 2.0 / 3600);
    Write("ArcSecPerPixelY", 4.0);
    EXPECT_DOUBLE_EQ(c.gRelacionPixel, 0.5);
    EXPECT_EQ(Refusal([&] { Write("ArcSecPerPixelX", 0.1); }),
              "101 Error 101: ArcSecPerPixelX: value out of range");
    Write("FocalInPixels", int32_t{125});
    EXPECT_EQ(c.gFocalEnPixeles, 125);
    EXPECT_EQ(Refusal([&] { Write("FocalInPixels", int32_t{124}); }),
              "101 Error 101: FocalInPixels: value out of range");
}

TEST_F(ImageSolverTest, MethodsRefuseAsTheClassSays) {
    EXPECT_EQ(Refusal([&] { FineAdjustAngle(c); }),
              "103 Error 103: FineAdjustAngle(): The image is not solved, can't be done.");
    c.gZonaCielo = 3;
    c.gTipoVentana = 2;
    EXPECT_EQ(Refusal([&] { Analyze(c); }),
              "108 Error 108: Analyze(): can't be done. SkyZone and SkyWindowType, incompatible values");
    c.gTipoVentana = 0;
    LaunchAnalysis(c);
    EXPECT_TRUE(c.timers.TimerAnalizaEnZonaGeneral.Enabled);
    c.gZonaCielo = 1;
    LaunchAnalysis(c);
    EXPECT_TRUE(c.timers.TimerAnalizaAmbitoVentanaElemental.Enabled);
    // A zone the class does not take starts nothing, without a word.
    c.timers = {};
    c.gZonaCielo = 6;
    LaunchAnalysis(c);
    EXPECT_FALSE(c.timers.TimerAnalizaEnZonaGeneral.Enabled ||
                 c.timers.TimerAnalizaAmbitoVentanaElemental.Enabled);
    c.gAnalizando = true;
    EXPECT_EQ(Refusal([&] { SetupDialog(c); }),
              "102 Error 102: SetupDialog(): can't be done while analyzing");
    StopAnalyzing(c);
    EXPECT_TRUE(c.gDetenerAnalisis);
}

TEST_F(ImageSolverTest, AngleThatCannotBeMeasuredIsRefusedAndTheParameterStays) {
    c.gHaySolucion = true;  // with a plate of zeros, which places no pole
    c.gAnguloImagen = 33;
    c.gMostrarAvisos = false;
    EXPECT_EQ(Refusal([&] { FineAdjustAngle(c); }),
              "104 Error 104: FineAdjustAngle(): Impossible to Auto-calibrate the image angle.");
    EXPECT_EQ(c.gAnguloImagen, 33);
}

// The interface file is the contract clients read: every property of the object in it, with its
// type and access, and nothing else.
TEST(ImageSolverContract, InterfaceFileListsEveryPropertyWithItsTypeAndAccess) {
    std::ifstream in(std::string(TORNEL_SOURCE_DIR) + "/share/dbus-1/interfaces/org.tornel.ImageSolver1.xml");
    std::string xml((std::istreambuf_iterator<char>(in)), {});
    std::regex property(R"re(<property name="(\w+)" type="(\w)" access="(\w+)")re");
    std::map<std::string, std::string> declared;
    for (auto it = std::sregex_iterator(xml.begin(), xml.end(), property); it != std::sregex_iterator(); ++it)
        declared[(*it)[1]] = std::string((*it)[2]) + " " + std::string((*it)[3]);
    const char* types[] = {"i", "b", "d", "s"};
    EXPECT_EQ(declared.size(), SolverProperties().size());
    for (const auto& p : SolverProperties())
        EXPECT_EQ(declared[p.name],
                  std::string(types[static_cast<int>(p.type)]) + (p.set ? " readwrite" : " read"))
            << p.name;
}

TEST_F(ImageSolverTest, OnlyAProgramAClientStartedEndsWithItsLastClient) {
    SolverClientArrived(c);
    SolverClientArrived(c);
    EXPECT_FALSE(SolverClientLeft(c));
    EXPECT_FALSE(SolverClientLeft(c));  // started by the user: it stays
    c.gIniciadoPorUsuario = false;
    SolverClientArrived(c);
    EXPECT_EQ(std::get<int32_t>(Read("Connections")), 1);
    EXPECT_TRUE(SolverClientLeft(c));
}

}  // namespace
}  // namespace tornel
