// The settings store at file level, in a hosted framework folder: any file is loaded, saved and
// loaded again. What loads comes back the same after a save and a reload; a file that fails to load
// is kept aside byte for byte before it is replaced; nothing is left behind.
#include "kftest/InProcessHost.hpp"
#include "KF_SettingsState.hpp"
#include "KF_TextLossless.hpp"
#include "KF/KF_AddonSettings.hpp"

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

namespace {

constexpr auto kShared = KF_AddonSettings_AllAddons;

void Check(bool condition)
{
    if (!condition)
        std::abort();
}

kftest::InProcessHost& Host()
{
    static kftest::InProcessHost* host = [] {
        auto* made = new kftest::InProcessHost();
        made->Attach();
        return made;
    }();
    return *host;
}

std::vector<std::string> Entries()
{
    std::vector<std::string> entries;
    KF_String name;
    KF_String value;
    for (long i = 0; KF_AddonSettings_Get(kShared, i, &name, &value); ++i)
        entries.push_back(kf::detail::KF_Text_StringToBytes(name, KF_String::Enc_System) + '\0' +
                          kf::detail::KF_Text_StringToBytes(value, KF_String::Enc_System));
    return entries;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    namespace fs = std::filesystem;
    kftest::InProcessHost& host = Host();
    fs::path const store = host.FrameworkFolder() / "Quadrelle.cfg";
    fs::path const aside = store.string() + ".unreadable";
    fs::remove(aside);
    kftest::WriteFile(store, std::string_view(reinterpret_cast<const char*>(data), size));
    kf::detail::KF_AddonSettings_Forget(kShared);

    const bool loaded = KF_AddonSettings_Load(kShared, false);
    const std::vector<std::string> before = Entries();
    // An edit that the format may not hold exactly, taken from the input itself.
    const bool edited = size > 0 && data[0] % 3 == 0;
    if (edited)
        KF_AddonSettings_Set(
            kShared, KF_String("k"),
            kf::detail::KF_Text_BytesToString(std::string_view(reinterpret_cast<const char*>(data), size / 2),
                                              KF_String::Enc_System),
            true);
    const bool saved = KF_AddonSettings_Save(kShared);
    // Only a store grown past the file limit may refuse to be saved.
    Check(saved || edited || size >= 100000);
    if (saved) {
        if (!loaded)
            Check(kftest::ReadFile(aside) == std::string(reinterpret_cast<const char*>(data), size));
        // What was written always loads, and a second save writes the same bytes.
        std::string const written = kftest::ReadFile(store);
        kf::detail::KF_AddonSettings_Forget(kShared);
        Check(KF_AddonSettings_Load(kShared, false));
        if (!edited)
            Check(Entries() == before);
        Check(KF_AddonSettings_Save(kShared));
        Check(kftest::ReadFile(store) == written);
    }
    for (const auto& entry : fs::directory_iterator(host.FrameworkFolder()))
        Check(entry.path().filename().string().find("kftmp") == std::string::npos);
    return 0;
}
