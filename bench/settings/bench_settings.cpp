// A settings store of 99,000 bytes: load, save and 1,000 look-ups through the framework and the
// host's file layer, beside std::ifstream / std::ofstream moving the same bytes in the same run.
#include "kftest/InProcessHost.hpp"
#include "KF_SettingsFormat.hpp"
#include "KF_SettingsState.hpp"
#include "KF/KF_AddonSettings.hpp"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace fs = std::filesystem;

namespace {

constexpr std::size_t kStoreBytes = 99000;
constexpr auto kType = KF_AddonSettings_ThisAddon;

std::string Name(std::size_t i)
{
    char name[16];
    std::snprintf(name, sizeof name, "Key%05zu", i);
    return name;
}

// Entries of about 100 bytes, one value with line breaks every tenth, padded to the exact size.
std::string PlainStore(std::vector<std::string>& names)
{
    std::string text;
    for (std::size_t i = 0; text.size() < kStoreBytes - 120; ++i) {
        std::string value(80, char('a' + i % 26));
        if (i % 10 == 0) {
            value[20] = '\n';
            value[50] = '\r';
        }
        names.push_back(Name(i));
        kf::detail::KF_Settings_AppendPlain(text, names.back(), value);
    }
    std::string const last = "Padding";
    std::size_t const room = kStoreBytes - text.size() - (1 + last.size() + 2 + 1);
    kf::detail::KF_Settings_AppendPlain(text, last, std::string(room, 'p'));
    names.push_back(last);
    return text;
}

// One hosted framework folder holding the scrambled store, shared by every benchmark.
struct Fixture {
    kftest::InProcessHost host;
    std::vector<std::string> names;
    std::string bytes;
    fs::path file;
    fs::path plainFile;

    Fixture()
    {
        host.Attach();
        bytes = PlainStore(names);
        kf::detail::KF_Settings_SwapHalves(bytes.data(), bytes.size());
        file = host.FrameworkFolder() / "TestAddOn.cfg";
        plainFile = host.TempDir() / "streams.cfg";
        kftest::WriteFile(file, bytes);
        kftest::WriteFile(plainFile, bytes);
    }
};

Fixture& Shared()
{
    static Fixture fixture;
    return fixture;
}

void BM_SettingsLoad(benchmark::State& state)
{
    Fixture& f = Shared();
    kftest::WriteFile(f.file, f.bytes);
    for (auto _ : state) {
        const bool ok = KF_AddonSettings_Load(kType, false);
        benchmark::DoNotOptimize(ok);
        if (!ok) {
            state.SkipWithError("load failed");
            break;
        }
    }
    state.counters["entries"] = double(KF_AddonSettings_GetCount(kType));
    state.SetBytesProcessed(std::int64_t(state.iterations()) * std::int64_t(f.bytes.size()));
}
BENCHMARK(BM_SettingsLoad)->Unit(benchmark::kMicrosecond);

void BM_IfstreamRead(benchmark::State& state)
{
    Fixture& f = Shared();
    for (auto _ : state) {
        std::ifstream in(f.plainFile, std::ios::binary);
        std::string content((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
        benchmark::DoNotOptimize(content.data());
    }
    state.SetBytesProcessed(std::int64_t(state.iterations()) * std::int64_t(f.bytes.size()));
}
BENCHMARK(BM_IfstreamRead)->Unit(benchmark::kMicrosecond);

// The parts of a load without the file: the byte-level parse alone, then with the conversions of
// every name and value into the store's list.
void CountEntry(std::string_view, std::string_view, void* count)
{
    ++*static_cast<long*>(count);
}

void BM_ParseBytesOnly(benchmark::State& state)
{
    Fixture& f = Shared();
    for (auto _ : state) {
        std::string plain = f.bytes;
        kf::detail::KF_Settings_SwapHalves(plain.data(), plain.size());
        long count = 0;
        benchmark::DoNotOptimize(kf::detail::KF_Settings_ParsePlain(plain.data(), plain.size(), CountEntry, &count));
        benchmark::DoNotOptimize(count);
    }
    state.SetBytesProcessed(std::int64_t(state.iterations()) * std::int64_t(f.bytes.size()));
}
BENCHMARK(BM_ParseBytesOnly)->Unit(benchmark::kMicrosecond);

void BM_ParseIntoList(benchmark::State& state)
{
    Fixture& f = Shared();
    for (auto _ : state) {
        KF_List<KF_Setting> list;
        benchmark::DoNotOptimize(kf::detail::KF_Settings_ParseFile(f.bytes.data(), f.bytes.size(), list));
    }
    state.SetBytesProcessed(std::int64_t(state.iterations()) * std::int64_t(f.bytes.size()));
}
BENCHMARK(BM_ParseIntoList)->Unit(benchmark::kMicrosecond);

void BM_SettingsSave(benchmark::State& state)
{
    Fixture& f = Shared();
    kftest::WriteFile(f.file, f.bytes);
    KF_AddonSettings_Load(kType, false);
    for (auto _ : state) {
        const bool ok = KF_AddonSettings_Save(kType);
        benchmark::DoNotOptimize(ok);
        if (!ok) {
            state.SkipWithError("save failed");
            break;
        }
    }
    if (kftest::ReadFile(f.file) != f.bytes) {
        state.SkipWithError("saved bytes differ from the loaded file");
    }
    state.SetBytesProcessed(std::int64_t(state.iterations()) * std::int64_t(f.bytes.size()));
}
BENCHMARK(BM_SettingsSave)->Unit(benchmark::kMicrosecond);

void BM_OfstreamWrite(benchmark::State& state)
{
    Fixture& f = Shared();
    for (auto _ : state) {
        std::ofstream out(f.plainFile, std::ios::binary | std::ios::trunc);
        out.write(f.bytes.data(), std::streamsize(f.bytes.size()));
    }
    state.SetBytesProcessed(std::int64_t(state.iterations()) * std::int64_t(f.bytes.size()));
}
BENCHMARK(BM_OfstreamWrite)->Unit(benchmark::kMicrosecond);

// The same replacement the store makes: a temporary file beside, then a rename over the old one.
void BM_OfstreamWriteAndRename(benchmark::State& state)
{
    Fixture& f = Shared();
    fs::path const temporary = f.plainFile.string() + ".tmp";
    for (auto _ : state) {
        {
            std::ofstream out(temporary, std::ios::binary | std::ios::trunc);
            out.write(f.bytes.data(), std::streamsize(f.bytes.size()));
        }
        fs::rename(temporary, f.plainFile);
    }
    state.SetBytesProcessed(std::int64_t(state.iterations()) * std::int64_t(f.bytes.size()));
}
BENCHMARK(BM_OfstreamWriteAndRename)->Unit(benchmark::kMicrosecond);

void BM_SettingsLookup1000(benchmark::State& state)
{
    Fixture& f = Shared();
    kftest::WriteFile(f.file, f.bytes);
    KF_AddonSettings_Load(kType, false);
    std::vector<KF_String> keys;
    for (std::size_t i = 0; i < 1000; ++i) {
        keys.emplace_back(f.names[(i * 7919) % f.names.size()].c_str(), KF_String::Enc_System);
    }
    KF_String value;
    for (auto _ : state) {
        long found = 0;
        for (const KF_String& key : keys) {
            found += KF_AddonSettings_Get(kType, key, &value, true) ? 1 : 0;
        }
        if (found != 1000) {
            state.SkipWithError("a key was not found");
            break;
        }
        benchmark::DoNotOptimize(found);
    }
    state.SetItemsProcessed(std::int64_t(state.iterations()) * 1000);
}
BENCHMARK(BM_SettingsLookup1000)->Unit(benchmark::kMicrosecond);

} // namespace
