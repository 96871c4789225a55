// File types registered with the host.
#include "FTM.hpp"

#include "SdkDetail.hpp"

#include <cstring>

namespace FTM {
namespace {

template <std::size_t N>
void CopyText(char (&into)[N], const char* text)
{
    if (!text) {
        into[0] = '\0';
        return;
    }
    std::strncpy(into, text, N - 1);
    into[N - 1] = '\0';
}

} // namespace

FileType::FileType(const char* description, const char* extension, HostFourCC creator, HostFourCC macType, short iconID,
                   ContentDetector*, const char*, bool visible)
    : creator_(creator), macType_(macType), iconID_(iconID), visible_(visible)
{
    CopyText(description_, description);
    CopyText(extension_, extension);
}

FileTypeManager::FileTypeManager(const char* name)
{
    CopyText(name_, name);
}

TypeID FileTypeManager::AddType(const FileType& type, GroupID group)
{
    using kfsdk::detail::FromAppBytes;
    using kfsdk::detail::Length;
    using kfsdk::detail::Units;
    const Base::UniString manager = FromAppBytes(name_);
    const Base::UniString description = FromAppBytes(type.GetDescription());
    const Base::UniString extension = FromAppBytes(type.GetExtension());
    KF_FileTypeRecord record{};
    record.description = Units(description);
    record.descriptionLength = Length(description);
    record.extension = Units(extension);
    record.extensionLength = Length(extension);
    record.creator = type.GetCreator();
    record.macType = type.GetMacType();
    record.iconID = type.GetIconID();
    record.visible = type.IsVisible() ? 1 : 0;
    return KFSDK_CALL(AddFileType, Units(manager), Length(manager), &record, group);
}

} // namespace FTM
