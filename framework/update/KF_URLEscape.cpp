#include "KF_URLEscape.hpp"

#include <curl/curl.h>

#include <cstring>
#include <memory>

namespace kf::detail {
namespace {

int HexValue(char c)
{
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    return -1;
}

bool Unescape(const std::string& in, std::string& out)
{
    out.clear();
    out.reserve(in.size());
    for (std::size_t i = 0; i < in.size(); ++i) {
        if (in[i] != '%') {
            out.push_back(in[i]);
            continue;
        }
        if (i + 2 >= in.size())
            return false;
        const int high = HexValue(in[i + 1]);
        const int low = HexValue(in[i + 2]);
        if (high < 0 || low < 0)
            return false;
        out.push_back(static_cast<char>(high * 16 + low));
        i += 2;
    }
    return true;
}

// Characters that may not stand in a URL as they are; reserved and unreserved ones stay.
bool NeedsEscape(unsigned char c)
{
    return c <= 0x20 || c >= 0x7F || std::strchr("\"%<>\\^`{|}", c) != nullptr;
}

std::string Escape(const std::string& in)
{
    static constexpr char kHex[] = "0123456789ABCDEF";
    std::string out;
    out.reserve(in.size());
    for (unsigned char c : in) {
        if (NeedsEscape(c)) {
            out.push_back('%');
            out.push_back(kHex[c >> 4]);
            out.push_back(kHex[c & 0x0F]);
        } else {
            out.push_back(static_cast<char>(c));
        }
    }
    return out;
}

bool IsWebURL(const std::string& url)
{
    std::unique_ptr<CURLU, decltype(&curl_url_cleanup)> parsed(curl_url(), curl_url_cleanup);
    if (!parsed || curl_url_set(parsed.get(), CURLUPART_URL, url.c_str(), 0) != CURLUE_OK)
        return false;
    char* scheme = nullptr;
    if (curl_url_get(parsed.get(), CURLUPART_SCHEME, &scheme, 0) != CURLUE_OK)
        return false;
    const bool web = std::strcmp(scheme, "http") == 0 || std::strcmp(scheme, "https") == 0;
    curl_free(scheme);
    return web;
}

} // namespace

bool KF_URL_Normalise(const KF_String& url, std::string& out)
{
    // The address travels as system-encoding text first; what that encoding cannot hold fails.
    const KF_CString system = url.ToCStr(KF_String::Enc_System);
    if (system.bytes == nullptr)
        return false;
    const KF_CString utf8 = KF_String(system.bytes, KF_String::Enc_System).ToCStr(KF_String::Enc_UTF8);
    if (utf8.bytes == nullptr)
        return false;

    std::string decoded;
    if (!Unescape(utf8.bytes, decoded))
        return false;
    if (!KF_String::IsUTF8(decoded.data(), static_cast<unsigned int>(decoded.size()), false))
        return false;
    out = Escape(decoded);
    return IsWebURL(out);
}

} // namespace kf::detail
