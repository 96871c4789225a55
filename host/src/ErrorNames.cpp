#include "kfhost/Text.hpp"

#include "kfsdk/HostTable.h"

#include <cstdio>

namespace kfhost {
namespace {

struct ErrorName {
    std::int32_t code;
    const char* name;
    const char* meaning;
};

constexpr ErrorName kErrors[] = {
    {KF_NOERROR, "NoError", "success"},
    {KF_APIERR_GENERAL, "APIERR_GENERAL", "a general failure"},
    {KF_APIERR_BADPARS, "APIERR_BADPARS", "a parameter is invalid"},
    {KF_APIERR_BADID, "APIERR_BADID", "an identifier (menu, resource, window) is not known"},
    {KF_APIERR_MODULNOTINSTALLED, "APIERR_MODULNOTINSTALLED", "no loaded add-on has that module identifier"},
    {KF_APIERR_MODULCMDNOTSUPPORTED, "APIERR_MODULCMDNOTSUPPORTED", "the add-on does not serve that command"},
    {KF_APIERR_NOTSUPPORTED, "APIERR_NOTSUPPORTED", "not supported by this host"},
    {KF_APIERR_CANCEL, "APIERR_CANCEL", "cancelled"},
    {KF_APIERR_MEMFULL, "APIERR_MEMFULL", "out of memory"},
    {KF_APIERR_BADTABLEVERSION, "APIERR_BADTABLEVERSION", "the host table's version is not the add-on's"},
    {KF_IOERR_ERROR, "IOERR_ERROR", "an input/output failure"},
    {KF_IOERR_FILENOTFOUND, "IOERR_FILENOTFOUND", "the file does not exist"},
    {KF_IOERR_ACCESSDENIED, "IOERR_ACCESSDENIED", "access is denied"},
    {KF_IOERR_DISKFULL, "IOERR_DISKFULL", "the disk is full"},
    {KF_IOERR_BADLOCATION, "IOERR_BADLOCATION", "the location is malformed"},
    {KF_IOERR_NOTOPEN, "IOERR_NOTOPEN", "the file is not open"},
    {KF_IOERR_ENDOFFILE, "IOERR_ENDOFFILE", "the end of the file"},
    {KF_IOERR_NAMENOTFOUND, "IOERR_NAMENOTFOUND", "no entry of that name"},
    {KF_IOERR_NOTAFOLDER, "IOERR_NOTAFOLDER", "not a folder"},
};

} // namespace

std::string ErrorText(std::int32_t code)
{
    for (const ErrorName& e : kErrors)
        if (e.code == code)
            return std::string(e.name) + " (" + e.meaning + ")";
    char buf[48];
    std::snprintf(buf, sizeof buf, "0x%08X (a code this host does not know)", static_cast<unsigned>(code));
    return buf;
}

} // namespace kfhost
