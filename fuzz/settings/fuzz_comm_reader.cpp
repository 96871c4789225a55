// Communication file bytes of any shape: reading must never crash or leave the buffer, and only
// a single entry saying "TRUE" may read as the suite being loaded.
#include "KF_CommDetail.hpp"
#include "KF_SettingsFormat.hpp"
#include "ExactCopy.hpp"

#include <cstdlib>
#include <string>
#include <vector>

namespace {

void CollectValue(std::string_view, std::string_view value, void* context)
{
    static_cast<std::vector<std::string>*>(context)->emplace_back(value);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size >= kf::detail::kSettingsBufferSize) {
        return 0;
    }
    const std::unique_ptr<char[]> bytes = ExactCopy(data, size);
    const bool loaded = kf::detail::KF_Comm_ReadMessage(bytes.get(), size);

    std::string plain(bytes.get(), size);
    kf::detail::KF_Settings_SwapHalves(plain.data(), plain.size());
    std::vector<std::string> values;
    const bool complete = kf::detail::KF_Settings_ParsePlain(plain.data(), plain.size(), CollectValue, &values);
    if (loaded != (complete && values.size() == 1 && values[0] == "TRUE")) {
        std::abort();
    }
    return 0;
}
