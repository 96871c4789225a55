// UTF-8 validation, decoding file text with detection, and splitting into lines.
#include "TextCorpus.hpp"

#include "KF/KF_String.hpp"

#include <unicode/ucsdet.h>
#include <unicode/ustring.h>

#include <string_view>

namespace {

using textbench::Kind;

constexpr std::size_t kMiB = 1u << 20;

void BM_IsUTF8(benchmark::State& state)
{
    static std::string const heavy = textbench::Utf8Text(Kind::AsciiHeavy, kMiB);
    static std::string const mixed = textbench::Utf8Text(Kind::Mixed, kMiB);
    const std::string& text = state.range(0) == 0 ? heavy : mixed;
    bool ok = false;
    textbench::RunBeside(
        state, text.size(), "icu",
        [&] {
            ok = KF_String::IsUTF8(text.data(), unsigned(text.size()), false);
            benchmark::DoNotOptimize(ok);
        },
        [&] {
            // The platform's own well-formedness check (a measuring conversion).
            UErrorCode status = U_ZERO_ERROR;
            int32_t needed = 0;
            u_strFromUTF8(nullptr, 0, &needed, text.data(), int32_t(text.size()), &status);
            benchmark::DoNotOptimize(needed);
        });
    if (!ok) {
        state.SkipWithError("text not recognised");
    }
}

void BM_TextToString(benchmark::State& state)
{
    static std::string const text = textbench::Utf8Text(Kind::AsciiHeavy, kMiB);
    UErrorCode status = U_ZERO_ERROR;
    UCharsetDetector* detector = ucsdet_open(&status);
    std::vector<UChar> units(text.size() + 1);
    KF_String s;
    KF_String::Encoding found = KF_String::Enc_None;
    textbench::RunBeside(
        state, text.size(), "icu",
        [&] {
            found = KF_String::TextToString(s, text.data(), unsigned(text.size()), true, KF_String::Enc_None);
            benchmark::DoNotOptimize(s.Units());
        },
        [&] {
            // The platform's detector, then a conversion with the charset it names.
            UErrorCode err = U_ZERO_ERROR;
            ucsdet_setText(detector, text.data(), int32_t(text.size()), &err);
            UCharsetMatch const* match = ucsdet_detect(detector, &err);
            char const* name = match != nullptr ? ucsdet_getName(match, &err) : "UTF-8";
            UConverter* cnv = ucnv_open(name, &err);
            int32_t const n =
                ucnv_toUChars(cnv, units.data(), int32_t(units.size()), text.data(), int32_t(text.size()), &err);
            ucnv_close(cnv);
            benchmark::DoNotOptimize(n);
        });
    ucsdet_close(detector);
    if (found != KF_String::Enc_UTF8) {
        state.SkipWithError("not detected as UTF-8");
    }
}

void BM_SplitLines(benchmark::State& state)
{
    std::string const text = textbench::Utf8Text(Kind::AsciiHeavy, std::size_t(state.range(0)));
    const KF_String s(text.data(), unsigned(text.size()), KF_String::Enc_UTF8);
    std::u16string const copy(s.Units(), s.Units() + s.GetLength());
    std::u16string_view const view(copy);
    KF_List<KF_String> lines;
    std::vector<std::u16string> plain;
    // No platform converter splits lines; the comparison is a plain standard-library split.
    textbench::RunBeside(
        state, text.size(), "std",
        [&] {
            s.SplitLines(lines, true, true);
            benchmark::DoNotOptimize(lines.count);
        },
        [&] {
            plain.clear();
            std::size_t start = 0;
            for (std::size_t i = 0; i < view.size(); ++i) {
                if (view[i] == u'\n' || view[i] == u'\r') {
                    plain.emplace_back(view.substr(start, i - start));
                    if (view[i] == u'\r' && i + 1 < view.size() && view[i + 1] == u'\n') {
                        ++i;
                    }
                    start = i + 1;
                }
            }
            plain.emplace_back(view.substr(start));
            benchmark::DoNotOptimize(plain.data());
        });
    state.SetComplexityN(state.range(0));
}

} // namespace

BENCHMARK(BM_IsUTF8)->Arg(0)->Arg(1)->ArgName("mixed");
BENCHMARK(BM_TextToString);
BENCHMARK(BM_SplitLines)->Arg(1 << 20)->Arg(8 << 20)->Complexity(benchmark::oN);
