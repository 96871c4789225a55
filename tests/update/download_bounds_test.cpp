// Downloads with a size limit: plain bodies, bodies that announce their size, and compressed bodies
// that grow when decoded. Whatever ends a download early, nothing is left on disk.
#include "DownloadHarness.hpp"

#include <httplib.h>
#include <zlib.h>

#include <thread>

using namespace kftest;

namespace {

// size zero bytes, gzip-compressed.
std::string GzipOfZeros(std::size_t size)
{
    z_stream z{};
    EXPECT_EQ(deflateInit2(&z, 9, Z_DEFLATED, 15 + 16, 9, Z_DEFAULT_STRATEGY), Z_OK);
    std::string const zeros(1 << 20, '\0');
    std::string out;
    char buffer[1 << 16];
    for (std::size_t fed = 0; fed < size; fed += zeros.size()) {
        z.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(zeros.data()));
        z.avail_in = static_cast<uInt>(std::min(zeros.size(), size - fed));
        const int flush = fed + zeros.size() >= size ? Z_FINISH : Z_NO_FLUSH;
        do {
            z.next_out = reinterpret_cast<Bytef*>(buffer);
            z.avail_out = sizeof buffer;
            deflate(&z, flush);
            out.append(buffer, sizeof buffer - z.avail_out);
        } while (z.avail_out == 0);
    }
    deflateEnd(&z);
    return out;
}

class BoundedDownload : public DownloadTest {
protected:
    bool FetchBounded(const std::string& url, Recorder& r, unsigned long long maxBytes)
    {
        r.target = Target();
        return KF_General::URLDownload(KF_String(url.c_str(), KF_String::Enc_UTF8),
                                       KF_Location(KF_String(r.target.c_str(), KF_String::Enc_UTF8)),
                                       &Recorder::CallBack, &r, maxBytes) &&
               RunUntil([&] { return r.Ended(); });
    }
    std::size_t FilesLeft() const
    {
        return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator(Target().parent_path()),
                                                      std::filesystem::directory_iterator{}));
    }
};

} // namespace

TEST_F(BoundedDownload, ABodyOverTheLimitFailsAndLeavesNothing)
{
    std::size_t const before = FilesLeft();
    struct Case {
        std::string path;
        unsigned long long limit;
        const char* story;
    };
    const Case cases[] = {
        {"/test/bytes/300000", 100000, "Opened Failed"},                        // announced: refused at once
        {"/test/trickle?bytes=3000&interval_ms=1", 1000, "Opened Data Failed"}, // no length header
        {"/test/bytes/100000", 100000, "Opened Data Done"},                     // exactly the limit
    };
    for (const Case& c : cases) {
        Recorder& r = NewRecorder();
        ASSERT_TRUE(FetchBounded(Url(c.path), r, c.limit)) << c.path;
        EXPECT_EQ(r.Story(), c.story) << c.path;
        if (r.events.back().message == KF_URL_Done) {
            EXPECT_EQ(std::filesystem::file_size(r.target), c.limit);
            std::filesystem::remove(r.target);
        }
        EXPECT_EQ(FilesLeft(), before) << c.path;
    }
}

TEST_F(BoundedDownload, DecodedBytesCountAgainstTheLimit)
{
    std::string const bomb = GzipOfZeros(256u << 20);
    ASSERT_LT(bomb.size(), 1u << 20);
    httplib::Server server;
    server.Get("/bomb", [&](const httplib::Request&, httplib::Response& response) {
        response.set_header("Content-Encoding", "gzip");
        response.set_content(bomb, "text/plain");
    });
    const int port = server.bind_to_any_port("127.0.0.1");
    ASSERT_GT(port, 0);
    std::thread serving([&] { server.listen_after_bind(); });
    std::size_t const before = FilesLeft();
    Recorder& r = NewRecorder();
    const bool ended = FetchBounded("http://127.0.0.1:" + std::to_string(port) + "/bomb", r, 4u << 20);
    server.stop();
    serving.join();
    ASSERT_TRUE(ended);
    EXPECT_EQ(r.Story(), "Opened Data Failed");
    EXPECT_EQ(FilesLeft(), before);
}
