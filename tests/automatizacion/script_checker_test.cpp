// The script checker on real script files: the report beside the script, every line copied, the
// doubtful members marked under their column.
#include <gtest/gtest.h>

#include <string>

#include "automatizacion/script_checker.h"
#include "tests/support/recording_platform.h"
#include "tests/support/temp_folder.h"

namespace tornel {
namespace {

using testing::RecordingPlatform;
using testing::TempFolder;

constexpr const char* kHeading = "'***  Checking the script file: ";
// The line that marks the member at `column` (from 0).
std::string Mark(size_t column, const char* lead = "'") {
    return lead + std::string(column - 1, ' ') + "?   NOT A METHOD NOR A PROPERTY";
}

class ScriptCheckerTest : public ::testing::Test {
  protected:
    ScriptCheck Check(const std::string& name, const std::string& text) {
        script = folder.Write(name, text);
        return CheckScriptFile(c, script);
    }
    std::string Report(const ScriptCheck& r) { return folder.Read(r.report.substr(folder.Path().size())); }
    // The report's lines after the heading and its empty line.
    std::string Body(const ScriptCheck& r) {
        std::string all = Report(r);
        std::string heading = kHeading + script + " ***\n\n";
        EXPECT_EQ(all.substr(0, heading.size()), heading);
        return all.substr(heading.size());
    }

    TempFolder folder;
    RecordingPlatform platform;
    Context c{platform};
    std::string script;
};

TEST_F(ScriptCheckerTest, ScriptWithoutTheObjectIsCopiedWithTheNotFoundLine) {
    ScriptCheck r = Check("plain.vbs", "Dim a\nWScript.Echo a.Foo\n");
    EXPECT_TRUE(r.done);
    EXPECT_FALSE(r.objectFound);
    EXPECT_EQ(r.report, folder.File("plainCHECK.txt"));
    EXPECT_EQ(Body(r),
              "Dim a\nWScript.Echo a.Foo\n'****  Text 'tornel.imagesolver' not found  ******************\n");
    ASSERT_EQ(platform.messages.size(), 1u);
    EXPECT_EQ(platform.messages[0], "Script file checked. See the errors in the file " + r.report);
}

TEST_F(ScriptCheckerTest, MembersMarkedUnderTheirColumnFirstMemberOfALineOnly) {
    ScriptCheck r = Check("run.vbs",
                          "Set Solver = CreateObject(\"TORNEL.ImageSolver\")\r\n"
                          "solver.ImagePath = \"c:\\m39.fit\"\r\n"
                          "  SOLVER.Analyse\r\n"
                          "x = (solver.Sides + solver.Nothing)\r\n"
                          "' solver.Bogus in a comment\r\n"
                          "mysolver.Whatever\r\n"
                          "solver.StopAnalyzing\r\n"
                          "solver.StopAnalysing\r\n");
    EXPECT_TRUE(r.objectFound);
    EXPECT_EQ(r.doubtful, 3);
    // The object's name in another case, the comment checked, a longer name left alone, the spelling
    // of the checker's own list.
    EXPECT_EQ(Body(r),
              "Set Solver = CreateObject(\"TORNEL.ImageSolver\")\r\n"
              "solver.ImagePath = \"c:\\m39.fit\"\r\n"
              "  SOLVER.Analyse\r\n" +
                  Mark(9) +
                  "\r\n"
                  "x = (solver.Sides + solver.Nothing)\r\n"
                  "' solver.Bogus in a comment\r\n" +
                  Mark(9) +
                  "\r\n"
                  "mysolver.Whatever\r\n"
                  "solver.StopAnalyzing\r\n" +
                  Mark(7) +
                  "\r\n"
                  "solver.StopAnalysing\r\n");
    EXPECT_EQ(platform.messages.back(), "Script file checked. See the errors in the file " + r.report);
}

TEST_F(ScriptCheckerTest, CleanScriptSaysNoErrorsInTheUsersLanguage) {
    c.gIdioma = 1;
    ScriptCheck r =
        Check("ok.vbs", "set s = createobject(\"tornel.imagesolver\")\ns.Analyze\nif s.Solved then\n");
    EXPECT_EQ(r.doubtful, 0);
    EXPECT_EQ(Report(r).substr(0, 34), "'*** Chequeo del fichero script : ");
    EXPECT_EQ(platform.messages.back(),
              "Verificación terminada. No se han encontrado errores. Vea el fichero " + r.report);
    // No boxes when the user turned them off.
    c.gMostrarAvisos = false;
    platform.messages.clear();
    Check("ok.vbs", "set s = createobject(\"tornel.imagesolver\")\n");
    EXPECT_TRUE(platform.messages.empty());
}

TEST_F(ScriptCheckerTest, PythonScriptNamesTheVariableFromTheBusObject) {
    ScriptCheck r = Check(
        "solve.py",
        "import dbus\n"
        "IFACE = \"org.tornel.ImageSolver1\"\n"
        "solver = dbus.SessionBus().get_object(\"org.tornel.ImageSolver\", \"/org/tornel/ImageSolver\")\n"
        "solver.Analyze(dbus_interface=\"org.tornel.ImageSolver1\")\n"
        "print(solver.Solved)\n"
        "solver.Analyse()\n");
    EXPECT_TRUE(r.objectFound);
    EXPECT_EQ(r.doubtful, 1);
    EXPECT_NE(Body(r).find("solver.Analyse()\n" + Mark(7, "#") + "\n"), std::string::npos);
}

TEST_F(ScriptCheckerTest, ReportNamesAndMissingScript) {
    EXPECT_EQ(ScriptReportPath("/a/b/run.vbs"), "/a/b/runCHECK.txt");
    EXPECT_EQ(ScriptReportPath("/a/b.d/run"), "/a/b.d/runCHECK.txt");
    EXPECT_EQ(ScriptReportPath("run.tar.vbs"), "run.tarCHECK.txt");
    ScriptCheck r = CheckScriptFile(c, folder.File("none.vbs"));
    EXPECT_FALSE(r.done);
    ASSERT_FALSE(platform.messages.empty());
    EXPECT_EQ(platform.messages.back().rfind("Error 53 ", 0), 0u) << platform.messages.back();
    EXPECT_FALSE(c.mFinAnalisis);
}

TEST_F(ScriptCheckerTest, MenuCommandAsksForTheScriptAndACancelDoesNothing) {
    CompruebaScript(c);
    ASSERT_EQ(platform.dialogs.size(), 1u);
    EXPECT_EQ(platform.dialogs[0].title, "Load the script file to be checked");
    EXPECT_EQ(platform.dialogs[0].filter, "Script  (*.*)|*.*");
    EXPECT_EQ(platform.dialogs[0].defaultExtension, "vbs");
    EXPECT_TRUE(platform.messages.empty());
    platform.chosenFiles.push_back(folder.Write("m.vbs", "Set o = CreateObject(\"Tornel.ImageSolver\")\n"));
    CompruebaScript(c);
    EXPECT_EQ(folder.Read("mCHECK.txt").empty(), false);
}

TEST(KnownMembers, TheCheckersOwnListInAnyCase) {
    EXPECT_TRUE(PropiedadExiste("analyze"));
    EXPECT_TRUE(PropiedadExiste("SHOWMSGBOXES"));
    EXPECT_TRUE(PropiedadExiste("StopAnalysing"));
    EXPECT_FALSE(PropiedadExiste("StopAnalyzing"));
    EXPECT_FALSE(PropiedadExiste("Connections"));
}

}  // namespace
}  // namespace tornel
