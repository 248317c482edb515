#pragma once
// Whole solves through tornel-cli on fields rendered from a small generated sky: dense patches
// across right ascension 0, around the north pole and at mid declination, over a sparse whole sky,
// built into a database as the user's tornel-db would. Test programs that use it link tornel_dbtools
// and depend on tornel-cli.
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cmath>
#include <cstdlib>
#include <functional>
#include <numbers>
#include <random>
#include <string>
#include <vector>

#include "comun/numbers.h"
#include "comun/quiet_platform.h"
#include "core/parametros.h"
#include "herramientas/db/build.h"
#include "herramientas/db/projection.h"
#include "tests/support/recording_platform.h"
#include "tests/support/temp_folder.h"

namespace tornel::testing {

// Stars spread evenly over the patches (uniform on the sphere within each radius) and a sparse sky.
inline std::vector<db::CatalogStar> GeneratedSky(uint64_t seed) {
    constexpr double kRad = std::numbers::pi / 180;
    struct Patch {
        double ra, dec, radius;  // degrees
        int stars;
    };
    std::mt19937_64 rng(seed);
    std::uniform_real_distribution<double> u(0, 1);
    std::vector<db::CatalogStar> stars;
    auto magnitude = [&] { return static_cast<float>(12 - 5 * u(rng) * u(rng)); };
    for (int k = 0; k < 12000; ++k)
        stars.push_back({360 * u(rng), std::asin(2 * u(rng) - 1) / kRad, magnitude()});
    // The pole patch is as dense as the real sky there: a pole tile holds every pair within 0.75
    // degree of its centre, and a denser one overflows the three-stars.
    const Patch patches[] = {{0, 10, 2.5, 3000}, {0, 90, 2.5, 800}, {150, -30, 2.5, 3000}};
    for (const Patch& p : patches) {
        const db::FieldGeometry centre{p.ra, p.dec, 3600, 0, 2, 2, false};
        for (int k = 0; k < p.stars; ++k) {
            // Uniform in the cap: the cosine of the distance is uniform.
            const double d = std::acos(1 - u(rng) * (1 - std::cos(p.radius * kRad))) / kRad;
            const double bearing = 360 * u(rng) * kRad;
            double ra = 0, dec = 0;
            db::PixelToSky(centre, 1 + d * std::sin(bearing), 1 + d * std::cos(bearing), ra, dec);
            stars.push_back({ra, dec, magnitude()});
        }
    }
    return stars;
}

// What a run of tornel-cli left: its exit status and its two output streams.
struct CliOutcome {
    int status = -1;
    std::string out, err;
    bool Has(const std::string& text) const { return out.find(text) != std::string::npos; }
};

// A program folder with the generated sky's database and a mailbox folder, "messages/". Database 1,
// searched around a position, unless a fixture builds database 2 for solves with no position.
class GeneratedSkyTest : public ::testing::Test {
  protected:
    static constexpr double kScale = 2.0;  // arcsec per pixel, with database 1

    void SetUp() override { Build(1); }

    // The database of road `base`; the pattern index only when asked for, so that the road is tried alone.
    void Build(int32_t base, bool quads = false) {
        database = home.MakeFolder("database");
        home.MakeFolder("messages");
        db::BuildInputs inputs;
        inputs.stars.push_back(GeneratedSky(3));
        inputs.objects = objects;
        sky = inputs.stars.back();
        db::BuildOptions options;
        options.database1 = base == 1;
        options.database2 = base == 2;
        options.quads = quads;
        baseDatos = base;
        std::string error;
        QuietPlatform quiet;
        ASSERT_TRUE(db::BuildDatabase(quiet, inputs, options, database, nullptr, error)) << error;
    }

    // The deep-sky objects that Build puts in the database's pgc.bin.
    std::vector<db::SkyObject> objects;

    // The parameters of a run, written by the program's own writer; `more` sets any others. Database
    // 2 takes its search centre from the combos, (0, 0): no position at all.
    void Parameters(double angle, bool reversed, const std::function<void(Context&)>& more = {}) {
        RecordingPlatform platform;
        Context c(platform);
        c.gCarpetaPrograma = home.Path();
        ParametrosPorDefecto(c);
        c.gCarpetaEstrellas = c.gCarpetaDistancias = database;
        c.gCarpetaMensajes = home.Path() + "messages/";
        c.gUmbralAutomatico = 1;
        c.gSegundosPorPixelX = c.gSegundosPorPixelY = scale;
        c.gFocalEnPixeles = FocalDesdeEscala(scale);
        CalculaValoresDerivados(c);
        c.gAnguloImagen = angle;
        c.gImagenInvertida = reversed ? 1 : 0;
        c.gBaseDatosPedida = c.gBaseDatos = baseDatos;
        if (baseDatos == 2) c.gOrigenCoordenadas = 0;
        if (more) more(c);
        GrabaParametros(c);
    }

    // Renders a 1024 x 900 field (0.57 degree at 2 arcsec per pixel) of the generated sky, or of
    // `stars` in its place, as field.fit with `cards` in its header.
    std::string Render(db::FieldGeometry g, const std::vector<db::FieldStar>* stars = nullptr,
                       const std::vector<std::string>& cards = {}) {
        g.arcsecPerPixel = scale;
        g.width = 1024;
        g.height = 900;
        geometry = g;
        const std::string path = home.File("field.fit");
        auto field = stars ? *stars : db::ProjectField(sky, g, {});
        db::SensorOptions sensor;
        sensor.hotPixels = 20;
        sensor.seed = 5;
        std::string error;
        EXPECT_TRUE(db::WriteFieldImage(path, g, field, sensor, error, cards)) << error;
        return path;
    }

    // tornel-cli on `image`, around `position` ("RA DEC") when one is given.
    CliOutcome Run(const std::string& image, const std::string& position) {
        const std::string cli = std::string(TORNEL_BINARY_DIR) + "/consola/tornel-cli";
        const std::string command = "TORNEL_HOME='" + home.Path() + "' '" + cli + "' 8 '" + image + "' " +
                                    position + " >'" + home.File("out.txt") + "' 2>'" + home.File("err.txt") +
                                    "'";
        const int raw = std::system(command.c_str());
        return {WIFEXITED(raw) ? WEXITSTATUS(raw) : -1, home.Read("out.txt"), home.Read("err.txt")};
    }
    CliOutcome Run(const std::string& image, double ra, double dec) {
        return Run(image, ShortestText(ra) + " " + ShortestText(dec));
    }

    double scale = kScale;  // arcsec per pixel
    int32_t baseDatos = 1;
    TempFolder home;
    std::string database;
    std::vector<db::CatalogStar> sky;
    db::FieldGeometry geometry;
};

}  // namespace tornel::testing
