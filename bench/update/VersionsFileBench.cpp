// Parsing a large versions file: lines per second at 1 MiB and 10 MiB show whether the parser
// stays linear in the size of the file.
#include "KF_VersionsFile.hpp"

#include <benchmark/benchmark.h>

#include <string>

namespace {

// A realistic mix: add-on lines with text blocks, libraries, messages, comments, blank lines.
std::string MakeVersionsFile(std::size_t bytes, long& lines)
{
    std::string text;
    text.reserve(bytes + 256);
    lines = 0;
    for (long n = 0; text.size() < bytes; ++n) {
        std::string const id = std::to_string(n);
        switch (n % 5) {
        case 0:
            text += "ADDON" + id + " 1." + std::to_string(n % 9) + ".0." + std::to_string(n % 97) +
                    " (HV170) 15/03/2013 ita int fra ger\n# Release notes of add-on " + id +
                    "\n# A second line of text.\n";
            lines += 3;
            break;
        case 1:
            text += "Library" + id + " 01-02-2013\n# Shared objects.\n";
            lines += 2;
            break;
        case 2:
            text += "MESSAGE 01/03/2013 31/12/2030\n# See http://example.invalid/news/" + id + "\n";
            lines += 2;
            break;
        case 3:
            text += "* comment " + id + "\n\n";
            lines += 2;
            break;
        default:
            text += "OTHER" + id + " 2.0.0.1 (HV160) 20/01/2012 rus jap spa\n";
            lines += 1;
            break;
        }
    }
    return text;
}

// Parses text once per iteration and reports bytes per second.
void ParseRepeatedly(benchmark::State& state, const std::string& text)
{
    for (auto _ : state) {
        KF_List<KF_AddonUpdate_Message> messages;
        KF_List<KF_AddonUpdate_Addon> addons;
        KF_List<KF_AddonUpdate_Library> libraries;
        kf::detail::KF_AddonUpdate_ParseVersionsBytes(text.data(), text.size(), messages, addons, libraries);
        benchmark::DoNotOptimize(addons.GetCount());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(text.size()));
}

void BM_ParseVersionsFile(benchmark::State& state)
{
    long lines = 0;
    std::string const text = MakeVersionsFile(static_cast<std::size_t>(state.range(0)) << 20, lines);
    ParseRepeatedly(state, text);
    state.counters["lines/s"] = benchmark::Counter(static_cast<double>(lines) * static_cast<double>(state.iterations()),
                                                   benchmark::Counter::kIsRate);
    state.counters["lines"] = static_cast<double>(lines);
}

// Few entries with long text blocks: joining the "#" lines must stay linear in the block's length.
void BM_ParseVersionsTextBlocks(benchmark::State& state)
{
    std::size_t const bytes = static_cast<std::size_t>(state.range(0)) << 20;
    std::string text;
    text.reserve(bytes + 256);
    long lines = 0;
    for (long n = 0; text.size() < bytes; ++n) {
        text += "ADDON" + std::to_string(n) + " 1.0.0.0 (HV170) 15/03/2013 int\n";
        ++lines;
        // Blocks of 256 KiB of 80-character lines.
        for (std::size_t block = 0; block < (256u << 10) && text.size() < bytes; block += 80, ++lines)
            text += "# Release notes, one line of text among many in a long block of the file......\n";
    }
    ParseRepeatedly(state, text);
    state.counters["lines"] = static_cast<double>(lines);
}

} // namespace

BENCHMARK(BM_ParseVersionsFile)->Arg(1)->Arg(10)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ParseVersionsTextBlocks)->Arg(1)->Arg(10)->Unit(benchmark::kMillisecond);
