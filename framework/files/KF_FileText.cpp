// Whole text files for add-ons, bounded like the framework's own small files.
#include "KF_FileDetail.hpp"

std::int32_t KF_File::ReadFullText(const KF_Location& location, KF_String& text, KF_String::Encoding encoding,
                                   bool* exists)
{
    text = KF_String("");
    std::string bytes;
    bool found = false;
    std::int32_t const result = kf::detail::KF_File_ReadWhole(location, KF_File_TextLimit, bytes, found);
    if (exists != nullptr) {
        *exists = found;
    }
    if (result != 0 || !found) {
        return result;
    }
    // The limit keeps the size within the converters' unsigned int.
    const auto size = static_cast<unsigned int>(bytes.size());
    KF_String::Encoding const used =
        KF_String::TextToString(text, bytes.data(), size, encoding == KF_String::Enc_None, encoding);
    if (used == KF_String::Enc_Unsupported) {
        text = KF_String("");
        return KF_File_Failed;
    }
    return KF_File_OK;
}
