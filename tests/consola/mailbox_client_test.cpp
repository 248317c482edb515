// tornel-cli as a mailbox daemon, driven the way another program drives it: through files only.
// The test writes tornel.txt, polls tornel.sta and reads tornel.pos, then ends the daemon by message
// and by signal.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>

#include <chrono>
#include <ctime>
#include <fstream>
#include <regex>
#include <string>
#include <thread>
#include <vector>

#include "herramientas/render/render.h"
#include "tests/consola/cli_process.h"
#include "tests/support/temp_folder.h"

namespace tornel {
namespace {

using Daemon = testing::CliProcess;
using testing::TempFolder;
using namespace std::chrono_literals;

std::vector<std::string> CrLfLines(const std::string& bytes) {
    std::vector<std::string> lines;
    for (size_t at = 0; at < bytes.size();) {
        size_t end = bytes.find("\r\n", at);
        if (end == std::string::npos) return {"(a line without CR LF)"};
        lines.push_back(bytes.substr(at, end - at));
        at = end + 2;
    }
    return lines;
}

// The client's side: messages in, status out.
class Client {
  public:
    explicit Client(const TempFolder& home) : home_(home), mailbox_(home.Path() + "messages/") {}

    // Which write of tornel.sta is on disk: each write replaces the file.
    std::string StatusVersion() const {
        struct stat st {};
        if (::stat((mailbox_ + "tornel.sta").c_str(), &st) != 0) return "";
        return std::to_string(st.st_ino) + ":" + std::to_string(st.st_mtim.tv_sec) + "." +
               std::to_string(st.st_mtim.tv_nsec);
    }
    std::vector<std::string> Status() const { return CrLfLines(home_.Read("messages/tornel.sta")); }
    std::vector<std::string> Position() const { return CrLfLines(home_.Read("messages/tornel.pos")); }

    // Waits until a write of tornel.sta newer than `since` whose second line is `word`.
    std::vector<std::string> AwaitStatus(const std::string& since, const std::string& word,
                                         std::chrono::seconds limit = 10s) {
        for (auto end = std::chrono::steady_clock::now() + limit; std::chrono::steady_clock::now() < end;) {
            std::string version = StatusVersion();
            if (!version.empty() && version != since) {
                std::vector<std::string> lines = Status();
                if (lines.size() == 10 && lines[1] == word) return lines;
            }
            std::this_thread::sleep_for(20ms);
        }
        ADD_FAILURE() << "no status \"" << word << "\"";
        return std::vector<std::string>(10);
    }

    // Writes tornel.txt in a later second than the message before it, as the mailbox asks; answers
    // the status version seen just before.
    std::string Send(const std::vector<std::string>& lines) {
        std::string before = StatusVersion();
        WaitForNextSecond();
        {
            std::ofstream out(mailbox_ + "tornel.txt", std::ios::binary | std::ios::trunc);
            for (const auto& line : lines)
                out << line << "\r\n";
        }
        NoteWritten();
        return before;
    }
    std::vector<std::string> Command(const std::vector<std::string>& pairs,
                                     const std::string& word = kWaiting) {
        std::vector<std::string> lines = {"command file", "written by the test client"};
        lines.insert(lines.end(), pairs.begin(), pairs.end());
        return AwaitStatus(Send(lines), word);
    }
    // Messages must differ by whole seconds: the next one waits for a second after this one's stamp.
    void WaitForNextSecond() const {
        while (std::time(nullptr) <= lastSecond_)
            std::this_thread::sleep_for(20ms);
    }
    // The daemon has told it waits: its start is past, and messages must come in a later second.
    void NoteStarted() { lastSecond_ = std::time(nullptr); }
    void NoteWritten() {
        struct stat st {};
        if (::stat((mailbox_ + "tornel.txt").c_str(), &st) == 0) lastSecond_ = st.st_mtim.tv_sec;
    }
    std::string mailbox() const { return mailbox_; }

    static constexpr const char* kWaiting = "automatic mode. Waiting for a message...";

  private:
    const TempFolder& home_;
    std::string mailbox_;
    std::time_t lastSecond_ = std::time(nullptr);
};

// Empty database files are enough for the start-up checks; the search then finds nothing.
void EmptyDatabases(const TempFolder& home) {
    for (const char* name : {"est.bin", "pgc.bin", "ani090.bin", "pole000.bin", "pole179.bin"})
        home.Write(name, "");
}

std::string ParameterValue(const TempFolder& home, int pair) {
    std::string text = home.Read("param.txt");
    size_t at = 0;
    for (int line = 1; line < 2 * pair; ++line)
        at = text.find("\r\n", at) + 2;
    return text.substr(at, text.find("\r\n", at) - at);
}

const std::regex kHead(R"(lines: 010 time: \d{8} \d\d:\d\d:\d\d mode=05 skyArea=(\d\d) status=(\d\d))");
const std::string kStamp = R"(\d{8} \d\d:\d\d:\d\d)";

void ExpectShiftLines(const std::string& reference, const std::string& previous) {
    const std::string shift =
        R"(image shift for \d\d stars: deltaX= [+-]\d{3}\.\d\d pixels\. deltaY= [+-]\d{3}\.\d\d pixels from )";
    EXPECT_TRUE(std::regex_match(reference, std::regex(shift + "reference"))) << reference;
    EXPECT_TRUE(std::regex_match(previous, std::regex(shift + "previous "))) << previous;
}

TEST(MailboxClient, ACompleteExchange) {
    TempFolder home;
    EmptyDatabases(home);
    render::Field field;
    field.width = 400, field.height = 300, field.psfSigma = 2.0;
    field.stars = render::RandomStars(8, 400, 300, 25, 50, 250000, 350000, 3);
    std::string image = home.File("field.fit");
    ASSERT_TRUE(render::WriteFits(image, render::Render(field), render::FitsStorage::Unsigned));
    // A first start leaves the parameters that the exchange must not change.
    ASSERT_EQ(Daemon(home, {}).Wait(30s), 0);
    const std::string parameters = home.Read("param.txt");
    ASSERT_NE(ParameterValue(home, 8), "8");

    Daemon daemon(home, {"5"});
    ASSERT_TRUE(daemon.Started());
    Client client(home);
    std::vector<std::string> sta = client.AwaitStatus("", Client::kWaiting);
    client.NoteStarted();
    std::smatch m;
    ASSERT_TRUE(std::regex_match(sta[0], m, kHead)) << sta[0];
    EXPECT_EQ(m[2], "03");
    EXPECT_EQ(sta[2], "image: ");
    EXPECT_EQ(sta[3] + sta[4] + sta[5], "");
    ExpectShiftLines(sta[6], sta[7]);
    EXPECT_EQ(sta[8], "command= ");
    EXPECT_EQ(sta[9], "  value= ");

    // Settings take effect at once; GET answers in lines 9 and 10.
    sta = client.Command({"SET   imageAngle", "12,5", "SET   selectedStars", "8",
                          "SET   skyZone   the window", "1", "GET   language", ""});
    EXPECT_EQ(sta[8], "command= GET   language");
    EXPECT_EQ(sta[9], "  value= 0");

    sta = client.Command({"SET   fooBar", "1"});
    EXPECT_EQ(sta[8], "command= SET   fooBar = is not a code name");
    EXPECT_EQ(sta[9], "  value= ");
    sta = client.Command({"SET   threshold", "2"});
    EXPECT_EQ(sta[8], "command= SET   threshold");
    EXPECT_EQ(sta[9], "  value=  incorrect parameter value.");

    // An image message sets the image and the centre; it starts nothing by itself.
    sta = client.AwaitStatus(client.Send({"image file path", image, "coordinates from the FITS header", "0",
                                          "right ascension", "83.82", "declination", "-5.39"}),
                             Client::kWaiting);
    EXPECT_EQ(sta[2], "image: ");

    // A message still open for writing is left alone until its writer closes it.
    {
        std::string before = client.StatusVersion();
        client.WaitForNextSecond();
        std::ofstream writer(client.mailbox() + "tornel.txt", std::ios::binary | std::ios::trunc);
        writer << "command file\r\nfree\r\nGET   selectedStars\r\n" << std::flush;
        std::this_thread::sleep_for(2500ms);
        EXPECT_EQ(client.StatusVersion(), before) << "read while still being written";
        writer << "\r\n";
    }
    client.NoteWritten();
    sta = client.AwaitStatus(client.StatusVersion(), Client::kWaiting);
    EXPECT_EQ(sta[8], "command= GET   selectedStars");
    EXPECT_EQ(sta[9], "  value= 8");

    // The analysis: "analysing" first, then the final word; the search finds nothing here.
    sta = client.Command({"EXE   analyze", ""}, "solution not found");
    ASSERT_TRUE(std::regex_match(sta[0], m, kHead)) << sta[0];
    EXPECT_EQ(m[1], "01");
    EXPECT_EQ(m[2], "02");
    EXPECT_EQ(sta[2], "image: " + image);
    const std::string none =
        "000 sides RA= 000\\.0000 DE= 00\\.0000 RA=00h00\\.0m DE= \\+00\xB0"
        "00' " +
        kStamp;
    EXPECT_TRUE(std::regex_match(sta[3], std::regex(none + " J2000  coor"))) << sta[3];
    EXPECT_TRUE(std::regex_match(sta[4], std::regex(none + " today  coor"))) << sta[4];
    EXPECT_EQ(sta[5], "image angle= +000.00");
    ExpectShiftLines(sta[6], sta[7]);
    EXPECT_EQ(sta[8], "command= ");
    std::vector<std::string> pos = client.Position();
    ASSERT_EQ(pos.size(), 5u);
    EXPECT_TRUE(std::regex_match(pos[0], std::regex(none + " J2000  coor"))) << pos[0];
    EXPECT_TRUE(std::regex_match(pos[1], std::regex(none + " today  coor"))) << pos[1];
    EXPECT_EQ(pos[2], "image angle= +000.00");
    ExpectShiftLines(pos[3], pos[4]);

    // The exit command ends the program at once: the settings of the session stay the client's, and
    // the last status stands.
    std::string last = client.Send({"command file", "", "SET   selectedStars", "9", "EXE   exitTornel", ""});
    EXPECT_EQ(daemon.Wait(10s), 0);
    EXPECT_EQ(home.Read("param.txt"), parameters);
    EXPECT_EQ(client.StatusVersion(), last);
    std::string err = home.Read("err.txt");
    EXPECT_NE(err.find("The code 'SET   fooBar' does not exist."), std::string::npos) << err;
    EXPECT_NE(err.find("The value: 2\nis not allowed for the command 'SET   threshold'"), std::string::npos);
    EXPECT_NE(home.Read("out.txt").find("Selected stars:"), std::string::npos);
}

TEST(MailboxClient, SignalsEndTheDaemonCleanly) {
    TempFolder home;
    for (int signal : {SIGTERM, SIGINT}) {
        // The second start takes mode 5 from the parameters the first one saved.
        Daemon daemon(home, signal == SIGTERM ? std::vector<std::string>{"5"} : std::vector<std::string>{});
        Client client(home);
        client.AwaitStatus("", Client::kWaiting);
        home.Write("param.txt", "");
        daemon.Signal(signal);
        EXPECT_EQ(daemon.Wait(10s), 0) << signal;
        EXPECT_EQ(ParameterValue(home, 31), "5") << signal;
        home.Write("messages/tornel.sta", "");
    }
}

}  // namespace
}  // namespace tornel
