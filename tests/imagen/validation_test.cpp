#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>

#include "tests/imagen/image_program.h"

namespace tornel {
namespace {
TEST(Explore, All) {
    std::string dir = std::string(TORNEL_SOURCE_DIR) + "/../shared/validation/";
    for (auto& e : std::filesystem::directory_iterator(dir)) {
        std::string name = e.path().filename().string();
        std::string ext = e.path().extension().string();
        if (ext != ".fits" && ext != ".jpg" && ext != ".bmp") continue;
        testing::ImageProgram p;
        p.c.gUmbralAutomatico = 1;
        bool ok = p.Load(e.path().string());
        std::printf("%s loaded=%d %dx%d max=%d\n", name.c_str(), ok, p.c.gPixelesX, p.c.gPixelesY, p.c.gBrilloMaximo);
        if (!ok) { for (auto& s : p.platform.summary) std::printf("   | %s\n", s.c_str()); for (auto& s : p.platform.messages) std::printf("   ! %s\n", s.c_str()); continue; }
        auto stars = p.Extract();
        std::printf("   bg=%d thr=%d umbral=%.3f contours=%d cand=%d sel=%zu\n", p.c.mBrilloFondo, p.c.mBrilloUmbral, p.c.gUmbral, p.c.mNumContornos, p.c.mNumCandidatas, stars.size());
        for (auto& s : stars) std::printf("     %.2f %.2f %.0f\n", s.x, s.y, s.brillo);
    }
}
}  // namespace
}  // namespace tornel
