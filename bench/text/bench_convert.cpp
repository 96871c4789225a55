// Byte text to KF_String and back. The framework measures first and converts second (two passes);
// the platform side converts once into a buffer sized by an upper bound.
#include "TextCorpus.hpp"

#include "KF/KF_String.hpp"

#include <memory>

namespace {

using textbench::Kind;

constexpr std::size_t kMiB = 1u << 20;

struct Converter {
    UConverter* cnv;
    explicit Converter(const char* name)
    {
        UErrorCode status = U_ZERO_ERROR;
        cnv = ucnv_open(name, &status);
    }
    ~Converter() { ucnv_close(cnv); }
    Converter(const Converter&) = delete;
    Converter& operator=(const Converter&) = delete;
};

void ToString(benchmark::State& state, const std::string& text, KF_String::Encoding enc, const char* icuName)
{
    Converter platform(icuName);
    std::vector<UChar> units(text.size() + 1);
    KF_String s;
    textbench::RunBeside(
        state, text.size(), "icu",
        [&] {
            KF_String::CStringToKF_String(s, text.data(), unsigned(text.size()), enc, false);
            benchmark::DoNotOptimize(s.Units());
        },
        [&] {
            UErrorCode status = U_ZERO_ERROR;
            int32_t const n = ucnv_toUChars(platform.cnv, units.data(), int32_t(units.size()), text.data(),
                                            int32_t(text.size()), &status);
            benchmark::DoNotOptimize(n);
        });
    if (s.IsNull()) {
        state.SkipWithError("conversion failed");
    }
}

void FromString(benchmark::State& state, const std::string& text, KF_String::Encoding enc, const char* icuName)
{
    Converter platform(icuName);
    const KF_String s(text.data(), unsigned(text.size()), enc);
    std::size_t const bound =
        std::size_t(UCNV_GET_MAX_BYTES_FOR_STRING(s.GetLength(), ucnv_getMaxCharSize(platform.cnv)));
    std::vector<UChar> units(s.Units(), s.Units() + s.GetLength());
    textbench::RunBeside(
        state, text.size(), "icu",
        [&] {
            char* out = nullptr;
            unsigned int bytes = 0;
            KF_String::KF_StringToCString(&out, bytes, enc, s, 0, 0);
            benchmark::DoNotOptimize(out);
            delete[] out;
        },
        [&] {
            std::unique_ptr<char[]> out(new char[bound]);
            UErrorCode status = U_ZERO_ERROR;
            int32_t const n =
                ucnv_fromUChars(platform.cnv, out.get(), int32_t(bound), units.data(), int32_t(units.size()), &status);
            benchmark::DoNotOptimize(n);
        });
}

void BM_Utf8ToString(benchmark::State& state)
{
    static std::string const heavy = textbench::Utf8Text(Kind::AsciiHeavy, kMiB);
    static std::string const mixed = textbench::Utf8Text(Kind::Mixed, kMiB);
    ToString(state, state.range(0) == 0 ? heavy : mixed, KF_String::Enc_UTF8, "UTF-8");
}

void BM_StringToUtf8(benchmark::State& state)
{
    static std::string const heavy = textbench::Utf8Text(Kind::AsciiHeavy, kMiB);
    static std::string const mixed = textbench::Utf8Text(Kind::Mixed, kMiB);
    FromString(state, state.range(0) == 0 ? heavy : mixed, KF_String::Enc_UTF8, "UTF-8");
}

void BM_SingleByteToString(benchmark::State& state)
{
    static std::string const roman = textbench::SingleByteText("macintosh", kMiB);
    static std::string const windows = textbench::SingleByteText("windows-1252", kMiB);
    const bool isRoman = state.range(0) == 0;
    ToString(state, isRoman ? roman : windows, isRoman ? KF_String::Enc_MacRoman : KF_String::Enc_WinLatin1,
             isRoman ? "macintosh" : "windows-1252");
}

void BM_StringToSingleByte(benchmark::State& state)
{
    static std::string const roman = textbench::SingleByteText("macintosh", kMiB);
    static std::string const windows = textbench::SingleByteText("windows-1252", kMiB);
    const bool isRoman = state.range(0) == 0;
    FromString(state, isRoman ? roman : windows, isRoman ? KF_String::Enc_MacRoman : KF_String::Enc_WinLatin1,
               isRoman ? "macintosh" : "windows-1252");
}

} // namespace

// Argument 0: ASCII-heavy text, 1: mixed text.
BENCHMARK(BM_Utf8ToString)->Arg(0)->Arg(1)->ArgName("mixed");
BENCHMARK(BM_StringToUtf8)->Arg(0)->Arg(1)->ArgName("mixed");
// Argument 0: Mac OS Roman, 1: Windows-1252.
BENCHMARK(BM_SingleByteToString)->Arg(0)->Arg(1)->ArgName("win1252");
BENCHMARK(BM_StringToSingleByte)->Arg(0)->Arg(1)->ArgName("win1252");
