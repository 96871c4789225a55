// Library parts by name, file or index. Every host location in a part record is deleted here,
// except after a successful Search or LibPart, where it passes to the caller.
#include "KF/KF_LibPart.hpp"

#include "KF/KF_Language.hpp"

#include <cstring>

namespace {

void ClearRecord(API_LibPart& record)
{
    std::memset(static_cast<void*>(&record), 0, sizeof record);
}

void DropLocation(API_LibPart& record)
{
    delete record.location;
    record.location = nullptr;
}

// The name is copied as it is; only the record's own field bounds it.
void CopyName(const KF_String& name, API_LibPart& record)
{
    Base::UniString const text = name.ToUniString();
    constexpr USize room = sizeof record.docu_UName / sizeof record.docu_UName[0] - 1;
    const USize count = text.GetLength() < room ? text.GetLength() : room;
    std::memcpy(record.docu_UName, text.ToUStr(), count * sizeof(Base::uchar_t));
    record.docu_UName[count] = 0;
}

} // namespace

HostErrCode KF_LibPart::Search(const KF_String& name, API_LibTypeID type, API_LibPart& out)
{
    ClearRecord(out);
    out.typeID = type;
    CopyName(name, out);
    const HostErrCode err = HostAPI_LibPart_Search(&out, false, false);
    if (err != NoError) {
        return err;
    }
    if (out.missingDef) {
        DropLocation(out);
        return APIERR_MISSINGDEF;
    }
    return NoError;
}

bool KF_LibPart::LibPart(const KF_Location& partFile, API_LibTypeID type, API_LibPart& out)
{
    // The name runs from behind the last "/" up to the last "." of the whole path. A "." that
    // stands in a folder name gives the empty name, which is searched as such.
    const KF_String& path = partFile.path;
    const unsigned int slash = path.LastIndexOf('/');
    const unsigned int dot = path.LastIndexOf('.');
    const unsigned int from = slash == KF_String::NotFound ? 0 : slash + 1;
    const unsigned int to = dot == KF_String::NotFound ? path.GetLength() : dot;
    const KF_String name = to > from ? path.Substring(from, to - from) : KF_String("");
    return Search(name, type, out) == NoError;
}

bool KF_LibPart::LibPart(const KF_String& name, API_LibTypeID type, API_LibPart& out)
{
    const unsigned int dot = name.LastIndexOf('.');
    if (dot == KF_String::NotFound) {
        return Search(name, type, out) == NoError;
    }
    return Search(name.Substring(0, dot), type, out) == NoError;
}

bool KF_LibPart::LibPart(const long& index, API_LibPart& out)
{
    ClearRecord(out);
    out.index = static_cast<Int32>(index);
    if (HostAPI_LibPart_Get(&out) != NoError) {
        return false;
    }
    if (out.missingDef) {
        DropLocation(out);
        return false;
    }
    return true;
}

namespace {

// Takes the part's file out of a record that LibPart filled; the host location is consumed.
bool TakeLocation(API_LibPart& record, KF_Location& out)
{
    if (record.location == nullptr) {
        return false;
    }
    out.Set(*record.location);
    DropLocation(record);
    return true;
}

} // namespace

bool KF_LibPart::Location(const KF_Location& partFile, API_LibTypeID type, KF_Location& out)
{
    API_LibPart record;
    return LibPart(partFile, type, record) && TakeLocation(record, out);
}

bool KF_LibPart::Location(long index, KF_Location& out)
{
    API_LibPart record;
    return LibPart(index, record) && TakeLocation(record, out);
}

long KF_LibPart::Index(const KF_String& name, API_LibTypeID type)
{
    API_LibPart record;
    if (!LibPart(name, type, record)) {
        return -1;
    }
    DropLocation(record);
    return record.index;
}

namespace {

long IndexLoading(const KF_String& name, API_LibTypeID type, bool checkLoaded)
{
    long index = KF_LibPart::Index(name, type);
    if (index != -1) {
        return index;
    }
    // A suite library that cannot be loaded shows in the second search.
    KF_Library::Load(checkLoaded);
    index = KF_LibPart::Index(name, type);
    if (index != -1) {
        return index;
    }
    const KF_String prompt =
        KF_Resource_GetString(static_cast<short>(KF_Resource_FrameworkStrings + gKF_Language), 13, true);
    if (!KF_Library::Ask(prompt, true)) {
        return -1;
    }
    return KF_LibPart::Index(name, type);
}

} // namespace

long KF_LibPart::IndexFullLib(const KF_String& name, API_LibTypeID type)
{
    return IndexLoading(name, type, true);
}

long KF_LibPart::IndexFullLibNoCheckLibs(const KF_String& name, API_LibTypeID type)
{
    return IndexLoading(name, type, false);
}
