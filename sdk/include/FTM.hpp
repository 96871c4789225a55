// The host's file type manager: file types registered with the host, used as file-dialog filters.
#pragma once

#include "HostTypes.hpp"

namespace FTM {

using TypeID = UInt32; // 0 means no type
using GroupID = UInt32;
using GeneralID = UInt32; // a type or a group, as kept in lists of filters

constexpr GroupID RootGroup = 1;

class ContentDetector; // never defined here: the framework passes none

// Description of one file type. Texts are Enc_System 8-bit texts, copied.
class FileType {
public:
    FileType(const char* description, const char* extension, HostFourCC creator, HostFourCC macType, short iconID,
             ContentDetector* detector = nullptr, const char* extraText = nullptr, bool visible = true);

    const char* GetDescription() const { return description_; }
    const char* GetExtension() const { return extension_; }
    HostFourCC GetCreator() const { return creator_; }
    HostFourCC GetMacType() const { return macType_; }
    short GetIconID() const { return iconID_; }
    bool IsVisible() const { return visible_; }

private:
    char description_[128] = {};
    char extension_[32] = {};
    HostFourCC creator_ = 0;
    HostFourCC macType_ = 0;
    short iconID_ = 0;
    bool visible_ = true;
};

// A named manager; the types it adds stay registered with the host for the run (the host
// recognises a type added twice and gives back the same identifier).
class FileTypeManager {
public:
    explicit FileTypeManager(const char* name);
    TypeID AddType(const FileType& type, GroupID group = RootGroup);

private:
    char name_[64] = {};
};

} // namespace FTM
