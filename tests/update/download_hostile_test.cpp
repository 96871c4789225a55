// Answers no proper server gives: interim (1xx) responses, lengths that lie, broken chunked
// encoding, final statuses that are no document (errors among them). A download ends as Done only
// with the whole document the server announced; otherwise as Failed, with nothing left beside the
// target.
#include "DownloadHarness.hpp"

using namespace kftest;

namespace {

class HostileServer : public DownloadTest {
protected:
    struct Outcome {
        std::string story;
        std::string content; // of the target, when the download was Done
        std::size_t leftovers = 0;
    };
    Outcome Answered(const std::string& raw, bool resetAfter = false)
    {
        RawServer server([&](int client, const std::string&) {
            RawServer::Send(client, raw);
            if (resetAfter)
                RawServer::ResetOnClose(client);
        });
        Recorder& r = NewRecorder();
        Outcome outcome;
        const std::string name = "hostile" + std::to_string(++count_) + ".txt";
        if (!Fetch(server.Url("/v.txt"), r, name))
            return {"did not end", {}, 0};
        outcome.story = r.Story();
        if (r.events.back().message == KF_URL_Done)
            outcome.content = kftest::ReadFile(r.target);
        outcome.leftovers = EntriesFor(r.target) - (outcome.content.empty() ? 0 : 1);
        return outcome;
    }
    int count_ = 0;
};

constexpr char kBody[] = "OBT 1.2.1.0 (HV170) 02/09/2013\n";

std::string Head(const std::string& status, const std::string& fields)
{
    return "HTTP/1.1 " + status + "\r\n" + fields + "Connection: close\r\n\r\n";
}

std::string Length(std::size_t n)
{
    return "Content-Length: " + std::to_string(n) + "\r\n";
}

} // namespace

// Interim (1xx) responses are skipped and only a final one counts; a length that lies or broken
// chunks are no document.
TEST_F(HostileServer, InterimResponsesLyingLengthsAndBrokenChunksEndRight)
{
    const std::string body = kBody;
    const std::string ok = Head("200 OK", Length(body.size())) + body;
    std::string many;
    for (int i = 0; i < 50; ++i)
        many += "HTTP/1.1 102 Processing\r\n\r\n";
    struct Case {
        const char* what;
        std::string raw;
        bool done;
        bool reset = false;
    };
    const Case cases[] = {
        {"100 then 200", "HTTP/1.1 100 Continue\r\n\r\n" + ok, true},
        {"103 then 200", "HTTP/1.1 103 Early Hints\r\nLink: </x>\r\n\r\n" + ok, true},
        {"many 1xx then 200", many + ok, true},
        {"1xx alone", "HTTP/1.1 100 Continue\r\n\r\n", false},
        {"101 without an upgrade", "HTTP/1.1 101 Switching Protocols\r\nUpgrade: h2c\r\n\r\n" + body, false},
        {"204", Head("204 No Content", ""), false},
        {"304", Head("304 Not Modified", ""), false},
        {"302 without a place", Head("302 Found", Length(body.size())) + body, false},
        {"404", Head("404 Not Found", Length(body.size())) + body, false},
        {"500", Head("500 Internal Server Error", Length(body.size())) + body, false},
        {"shorter than announced", Head("200 OK", Length(body.size() + 100)) + body, false},
        {"shorter, then a reset", Head("200 OK", Length(body.size() + 100)) + body, false, true},
        {"announced length not a number", Head("200 OK", "Content-Length: 12x\r\n") + body, false},
        {"two different lengths", Head("200 OK", Length(3) + Length(body.size())) + body, false},
        {"a negative length", Head("200 OK", "Content-Length: -1\r\n") + body, false},
        {"a length too large for any number", Head("200 OK", "Content-Length: 99999999999999999999999\r\n") + body,
         false},
        {"chunk size not hexadecimal",
         Head("200 OK", "Transfer-Encoding: chunked\r\n") + "zz\r\n" + body + "\r\n0\r\n\r\n", false},
        {"no last chunk", Head("200 OK", "Transfer-Encoding: chunked\r\n") + "1f\r\n" + body + "\r\n", false},
        {"chunk longer than its data",
         Head("200 OK", "Transfer-Encoding: chunked\r\n") + "ff\r\n" + body + "\r\n0\r\n\r\n", false},
        {"chunk size beyond any number",
         Head("200 OK", "Transfer-Encoding: chunked\r\n") + "fffffffffffffffffffff\r\n" + body, false},
        {"chunks well formed", Head("200 OK", "Transfer-Encoding: chunked\r\n") + "1f\r\n" + body + "\r\n0\r\n\r\n",
         true},
        {"no length, ends at the close", Head("200 OK", "") + body, true},
    };
    for (const Case& c : cases) {
        const Outcome o = Answered(c.raw, c.reset);
        EXPECT_EQ(o.story.substr(o.story.rfind(' ') + 1), c.done ? "Done" : "Failed") << c.what << ": " << o.story;
        EXPECT_EQ(o.content, c.done ? body : "") << c.what;
        EXPECT_EQ(o.leftovers, 0u) << c.what;
    }
    // Longer than announced: the announced length is the document; what follows is not part of it.
    const Outcome longer = Answered(Head("200 OK", Length(10)) + body);
    EXPECT_EQ(longer.story, "Opened Data Done");
    EXPECT_EQ(longer.content, body.substr(0, 10));
}
