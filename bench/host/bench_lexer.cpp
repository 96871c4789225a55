// Splitting one very long resource line into tokens: time per byte must not grow with the line, as
// every token's column is counted on from the one before.
#include "kfhost/Lexer.hpp"

#include <benchmark/benchmark.h>

#include <string>

namespace {

// A line of words, numbers and quoted strings (some with two-byte characters) of about mib MiB.
std::string LongLine(std::size_t mib)
{
    static const std::string kPieces[] = {"button ", "32767 ", "\"K\xc3\xa4se und Brot\" ", "-0x7F ",
                                          "word_15_chars__ "};
    std::string line;
    line.reserve((mib << 20) + 32);
    for (std::size_t n = 0; line.size() < (mib << 20); ++n)
        line += kPieces[n % std::size(kPieces)];
    return line;
}

void BM_TokenizeOneLongLine(benchmark::State& state)
{
    std::string const line = LongLine(static_cast<std::size_t>(state.range(0)));
    std::size_t tokens = 0;
    for (auto _ : state) {
        const auto result = kfhost::detail::Tokenize(line);
        tokens = result.size();
        benchmark::DoNotOptimize(result.back().column);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(line.size()));
    state.counters["tokens"] = static_cast<double>(tokens);
}

} // namespace

BENCHMARK(BM_TokenizeOneLongLine)->Arg(1)->Arg(10)->Arg(100)->Unit(benchmark::kMillisecond)->Iterations(3);
