// Deterministic texts for the text benchmarks, and the side-by-side timing helper.
#pragma once

#include "KF_TextCodec.hpp"

#include <benchmark/benchmark.h>
#include <unicode/ucnv.h>

#include <cstdlib>
#include <cstring>
#include <ctime>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

namespace textbench {

// KF_BENCH_VECTOR_LEVEL=ssse3 or none measures the framework as on a processor without AVX2 (or
// without either); unset, the processor's best level is used.
inline const bool kVectorLevelChosen = [] {
    using kf::detail::text::VectorLevel;
    const char* level = std::getenv("KF_BENCH_VECTOR_LEVEL");
    if (level != nullptr && std::strcmp(level, "ssse3") == 0) {
        kf::detail::text::SetVectorLimit(VectorLevel::SSSE3);
    } else if (level != nullptr && std::strcmp(level, "none") == 0) {
        kf::detail::text::SetVectorLimit(VectorLevel::None);
    }
    return true;
}();

enum class Kind {
    AsciiHeavy, // English-like prose: about one accented or symbol character per 160 bytes
    Mixed       // Latin with accents, Greek, Cyrillic, CJK and emoji: about half the bytes non-ASCII
};

inline std::string Utf8Text(Kind kind, std::size_t bytes)
{
    static const std::vector<std::string> ascii = {
        "the",     "quick",   "brown",    "fox",    "jumps",  "over", "lazy",     "dog",    "settings", "update",
        "library", "version", "language", "dialog", "string", "file", "location", "folder", "check",    "server"};
    static const std::vector<std::string> rare = {"caf\xC3\xA9", "na\xC3\xAFve",
                                                  "\xE2\x82\xAC"
                                                  "5",
                                                  "M\xC3\xBCller"};
    static const std::vector<std::string> mixed = {"fen\xC3\xAAtre",
                                                   "\xC3\xA9t\xC3\xA9",
                                                   "stra\xC3\x9F"
                                                   "e",
                                                   "\xCE\xBA\xCE\xB1\xCE\xBB\xCE\xAE",
                                                   "\xD0\xBC\xD0\xB8\xD1\x80",
                                                   "\xD0\xBF\xD1\x80\xD0\xB8\xD0\xB2\xD0\xB5\xD1\x82",
                                                   "\xE6\x96\x87\xE5\xAD\x97",
                                                   "\xE6\x9B\xB4\xE6\x96\xB0",
                                                   "\xF0\x9F\x98\x80",
                                                   "text",
                                                   "file",
                                                   "version"};
    std::mt19937 rng(kind == Kind::AsciiHeavy ? 17u : 23u);
    std::string out;
    out.reserve(bytes + 64);
    std::size_t line = 0;
    while (out.size() < bytes) {
        const std::string* word = nullptr;
        if (kind == Kind::AsciiHeavy) {
            word = (rng() % 25 == 0) ? &rare[rng() % rare.size()] : &ascii[rng() % ascii.size()];
        } else {
            word = &mixed[rng() % mixed.size()];
        }
        out += *word;
        line += word->size() + 1;
        if (line > 70) {
            out += '\n';
            line = 0;
        } else {
            out += ' ';
        }
    }
    // Cut at a character boundary.
    std::size_t end = bytes;
    while (end > 0 && (static_cast<unsigned char>(out[end]) & 0xC0) == 0x80) {
        --end;
    }
    out.resize(end);
    return out;
}

// French-like text converted into a single-byte encoding (about one byte in seven above 0x7F).
inline std::string SingleByteText(const char* converter, std::size_t bytes)
{
    static const std::vector<std::string> words = {"le",
                                                   "fichier",
                                                   "\xC3\xA9t\xC3\xA9",
                                                   "d\xC3\xA9j\xC3\xA0",
                                                   "fen\xC3\xAAtre",
                                                   "mise",
                                                   "\xC3\xA0",
                                                   "jour",
                                                   "version",
                                                   "na\xC3\xAFve",
                                                   "fa\xC3\xA7on",
                                                   "\xE2\x82\xAC",
                                                   "c\xE2\x80\x99"
                                                   "est",
                                                   "o\xC3\xB9"};
    std::mt19937 rng(5u);
    std::string utf8;
    while (utf8.size() < bytes * 11 / 10) {
        utf8 += words[rng() % words.size()];
        utf8 += (rng() % 12 == 0) ? '\n' : ' ';
    }
    UErrorCode status = U_ZERO_ERROR;
    std::vector<char> out(utf8.size() + 1);
    const int32_t n =
        ucnv_convert(converter, "UTF-8", out.data(), int32_t(out.size()), utf8.data(), int32_t(utf8.size()), &status);
    out.resize(std::size_t(n < int32_t(bytes) ? n : int32_t(bytes)));
    return std::string(out.begin(), out.end());
}

// Runs the framework's work under the benchmark's timing, then the same number of rounds of the
// direct platform work; reports both throughputs and their ratio (above 1: the framework is faster).
template <typename Ours, typename Theirs>
void RunBeside(benchmark::State& state, std::size_t bytes, const char* label, Ours ours, Theirs theirs)
{
    // Thread CPU time, like the benchmark's own figures: other processes sharing the machine
    // must not tilt the ratio.
    auto cpuSeconds = [] {
        timespec ts{};
        clock_gettime(CLOCK_THREAD_CPUTIME_ID, &ts);
        return double(ts.tv_sec) + double(ts.tv_nsec) * 1e-9;
    };
    std::int64_t rounds = 0;
    const double start = cpuSeconds();
    for (auto _ : state) {
        ours();
        ++rounds;
    }
    const double oursSeconds = (cpuSeconds() - start) / double(rounds);
    const double again = cpuSeconds();
    for (std::int64_t i = 0; i < rounds; ++i) {
        theirs();
    }
    const double theirSeconds = (cpuSeconds() - again) / double(rounds);
    state.SetBytesProcessed(rounds * std::int64_t(bytes));
    state.counters[std::string(label) + "_GB/s"] = double(bytes) / theirSeconds / 1e9;
    state.counters[std::string("x_") + label] = theirSeconds / oursSeconds;
}

} // namespace textbench
