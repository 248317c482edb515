// What an INDI server sends, past what any server sends: the stream refuses it rather than hold it.
#include "telescopio/indi_stream.h"

#include <gtest/gtest.h>

#include "telescopio/link_wait.h"

namespace tornel {
namespace {

std::string TextVector(const std::string& text) {
    return R"(<defTextVector device="Scope" name="INFO" state="Idle"><defText name="NOTE">)" + text +
           "</defText></defTextVector>\n";
}

// Feeds `bytes` in receives of 64 KiB; the message of the LinkError, empty when none.
std::string FeedInReceives(IndiStream& stream, const std::string& bytes) {
    try {
        for (size_t at = 0; at < bytes.size(); at += 1 << 16)
            stream.Feed(std::string_view(bytes).substr(at, 1 << 16));
    } catch (const LinkError& e) {
        return e.what();
    }
    return {};
}

TEST(IndiStreamLimits, AMemberTextIsKeptUpToItsLimitAndRefusedPastIt) {
    std::map<std::string, IndiDevice> devices;
    IndiStream within(devices);
    EXPECT_EQ(FeedInReceives(within, TextVector(std::string(kMaxIndiText, 'a'))), "");
    EXPECT_EQ(devices["Scope"].vectors["INFO"].members["NOTE"].size(), kMaxIndiText);

    std::map<std::string, IndiDevice> more;
    IndiStream past(more);
    EXPECT_EQ(FeedInReceives(past, TextVector(std::string(kMaxIndiText + 1, 'a'))),
              "The INDI server sent a member's text longer than 1048576 bytes.");
    EXPECT_TRUE(more["Scope"].vectors["INFO"].members.empty());
    // The stream is spent: what follows is refused too.
    EXPECT_NE(FeedInReceives(past, TextVector("short")), "");
}

TEST(IndiStreamLimits, NestingPastTheLimitIsRefused) {
    std::map<std::string, IndiDevice> devices;
    IndiStream deep(devices);
    std::string open;
    for (int k = 1; k < kMaxIndiDepth; ++k)
        open += "<a>";
    EXPECT_EQ(FeedInReceives(deep, open), "");
    EXPECT_EQ(FeedInReceives(deep, "<a>"), "The INDI server sent elements nested deeper than 32.");
}

// A tag, an attribute or a comment that never ends is held by the XML parser until it does: it is
// refused once it passes its limit, however it is cut.
TEST(IndiStreamLimits, ATagThatNeverEndsIsRefusedAtItsLimit) {
    for (const std::string& start :
         {std::string(R"(<defNumberVector device="Scope" name=")"), std::string("<!-- ")}) {
        SCOPED_TRACE(start);
        std::map<std::string, IndiDevice> devices;
        IndiStream stream(devices);
        std::string said;
        size_t fed = start.size();
        stream.Feed(start);
        while (said.empty() && fed < 4 * kMaxIndiPending) {
            said = FeedInReceives(stream, std::string(4096, 'x'));
            fed += 4096;
        }
        EXPECT_EQ(said, "The INDI server sent a tag longer than 1048576 bytes.");
        EXPECT_LE(fed, kMaxIndiPending + 8192);
    }
}

}  // namespace
}  // namespace tornel
