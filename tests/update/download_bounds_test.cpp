// Downloads with a size limit: plain bodies, bodies that announce their size, and compressed bodies
// that grow when decoded. Whatever ends a download early, nothing is left on disk.
#include "DownloadHarness.hpp"

#include <zlib.h>

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
    std::string Gzip(std::size_t size) const { return gzip_.Url("/" + std::to_string(size)); }

    // Zero bytes, gzip-compressed, as many as the path says: the decoded size is what counts.
    RawServer gzip_{[](int client, const std::string& head) {
        std::string const body = GzipOfZeros(std::stoull(head.substr(head.find('/') + 1)));
        RawServer::Send(client, "HTTP/1.1 200 OK\r\nContent-Encoding: gzip\r\nContent-Length: " +
                                    std::to_string(body.size()) + "\r\n\r\n" + body);
    }};
};

} // namespace

// Exactly the limit passes and one byte more fails, whether the size is announced, unknown until the
// end (chunked) or only known once decoded; a compressed bomb stops at the limit.
TEST_F(BoundedDownload, ExactlyTheLimitPassesAndOneByteMoreFailsLeavingNothing)
{
    constexpr unsigned long long kLimit = 1000;
    struct Case {
        std::string url;
        bool done;
    };
    const Case cases[] = {
        {Url("/test/bytes/1000"), true},
        {Url("/test/bytes/1001"), false},
        {Url("/test/trickle?bytes=1000&interval_ms=0"), true},
        {Url("/test/trickle?bytes=1001&interval_ms=0"), false},
        {Gzip(1000), true},
        {Gzip(1001), false},
        {Gzip(256u << 20), false}, // a small body that decodes to 256 MiB
    };
    for (const Case& c : cases) {
        Recorder& r = NewRecorder();
        ASSERT_TRUE(Fetch(c.url, r, "download.bin", kLimit)) << c.url;
        EXPECT_EQ(r.events.back().message, c.done ? KF_URL_Done : KF_URL_Failed) << c.url << ": " << r.Story();
        EXPECT_EQ(EntriesFor(r.target), c.done ? 1u : 0u) << c.url;
        if (c.done) {
            EXPECT_EQ(std::filesystem::file_size(r.target), kLimit) << c.url;
            std::filesystem::remove(r.target);
        }
    }
    // An announced size over the limit is refused before a byte is written.
    Recorder& announced = NewRecorder();
    ASSERT_TRUE(Fetch(Url("/test/bytes/300000"), announced, "download.bin", kLimit));
    EXPECT_EQ(announced.Story(), "Opened Failed");
}
