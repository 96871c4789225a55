// Small helpers shared by the text tests and fuzz targets (no test framework in here).
#pragma once

#include "KF/KF_String.hpp"
#include "KF_TextCodec.hpp"

#include "HostTextEncoding.hpp"

#include <cstdio>
#include <ostream>
#include <sstream>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

namespace kftest {

// The units of s; the null string and the empty string both give "" (test IsNull separately).
inline std::u16string U(const KF_String& s)
{
    std::u16string out;
    for (unsigned int i = 0; i < s.GetLength(); ++i) {
        out.push_back(char16_t(s.Units()[i]));
    }
    return out;
}

inline KF_String FromU16(const std::u16string& text)
{
    std::vector<unsigned short> units(text.begin(), text.end());
    units.push_back(0);
    return KF_String(units.data(), static_cast<unsigned int>(text.size()));
}

inline KF_String Utf8(const char* text)
{
    return KF_String(text, KF_String::Enc_UTF8);
}

inline std::string Bytes(const char* p, long n)
{
    return n > 0 ? std::string(p, std::size_t(n)) : std::string();
}

inline std::vector<std::u16string> Pieces(const KF_List<KF_String>& list, std::vector<bool>* nulls = nullptr)
{
    std::vector<std::u16string> out;
    for (long i = 0; i < list.count; ++i) {
        out.push_back(U(list[i]));
        if (nulls != nullptr) {
            nulls->push_back(list[i].IsNull());
        }
    }
    return out;
}

// Sets the application encoding for one test and puts the default back afterwards.
class ScopedAppEncoding {
public:
    explicit ScopedAppEncoding(Base::AppTextEncoding enc) : saved_(Base::GetApplicationTextEncoding())
    {
        Base::SetApplicationTextEncoding(enc);
    }
    ~ScopedAppEncoding() { Base::SetApplicationTextEncoding(saved_); }
    ScopedAppEncoding(const ScopedAppEncoding&) = delete;
    ScopedAppEncoding& operator=(const ScopedAppEncoding&) = delete;

private:
    Base::AppTextEncoding saved_;
};

// The bytes or units in hexadecimal, for messages.
template <typename Unit>
std::string Hex(std::basic_string_view<Unit> text)
{
    std::string out;
    char buf[8];
    for (Unit u : text) {
        std::snprintf(buf, sizeof buf, sizeof u == 1 ? "%02X " : "%04X ", unsigned(std::make_unsigned_t<Unit>(u)));
        out += buf;
    }
    return out;
}
inline std::string Hex(std::string_view bytes)
{
    return Hex<char>(bytes);
}
inline std::string Hex(std::u16string_view units)
{
    return Hex<char16_t>(units);
}

// "" when equal, else a readable account of the first difference instead of megabytes of text.
template <typename Text>
std::string FirstDifference(const Text& got, const Text& want)
{
    if (got == want) {
        return {};
    }
    std::size_t at = 0;
    while (at < got.size() && at < want.size() && got[at] == want[at]) {
        ++at;
    }
    std::size_t const from = at > 4 ? at - 4 : 0;
    return "first difference at " + std::to_string(at) + " of " + std::to_string(want.size()) + " (got " +
           std::to_string(got.size()) + "): got " + Hex(got.substr(from, 12)) + "want " + Hex(want.substr(from, 12));
}

inline std::string Utf16LE(std::u16string_view units)
{
    std::string out;
    for (char16_t u : units) {
        out += {char(u & 0xFF), char(u >> 8)};
    }
    return out;
}

// Which way ConvertChangeEncoding goes: the hand-written fast paths at a level of vector
// instructions, or the platform converters alone. Set for a scope, the best way restored after.
struct Route {
    const char* name;
    bool fast;
    kf::detail::text::VectorLevel vector;
};
inline constexpr Route kRoutes[] = {{"fast+AVX2", true, kf::detail::text::VectorLevel::AVX2},
                                    {"fast+SSSE3", true, kf::detail::text::VectorLevel::SSSE3},
                                    {"fast scalar", true, kf::detail::text::VectorLevel::None},
                                    {"platform", false, kf::detail::text::VectorLevel::AVX2}};
inline constexpr const Route& kPlatform = kRoutes[3];

class RouteScope {
public:
    explicit RouteScope(const Route& r)
    {
        kf::detail::text::SetFastPathsEnabled(r.fast);
        kf::detail::text::SetVectorLimit(r.vector);
    }
    ~RouteScope()
    {
        kf::detail::text::SetFastPathsEnabled(true);
        kf::detail::text::SetVectorLimit(kf::detail::text::VectorLevel::AVX2);
    }
    RouteScope(const RouteScope&) = delete;
    RouteScope& operator=(const RouteScope&) = delete;
};

// One ConvertChangeEncoding call: a room below 0 measures (no destination).
struct Outcome {
    long code;
    std::string bytes; // only a successful conversion defines the destination's bytes
    bool operator==(const Outcome&) const = default;
};

inline std::ostream& operator<<(std::ostream& os, const Outcome& o)
{
    return os << o.code << " [" << Hex(o.bytes.substr(0, 24)) << (o.bytes.size() > 24 ? "...]" : "]");
}

inline Outcome ConvertOnce(const Route& route, KF_String::Encoding from, std::string_view src, long srcBytes,
                           KF_String::Encoding to, long room, bool terminate, bool lossy)
{
    const RouteScope scope(route);
    std::string dst(room > 0 ? std::size_t(room) : 1, '\x5A');
    const long code = KF_String::ConvertChangeEncoding(from, src.data(), srcBytes, to, room < 0 ? nullptr : dst.data(),
                                                       room, terminate, lossy);
    return {code, room >= 0 && code > 0 ? dst.substr(0, std::size_t(code)) : std::string()};
}

// How a route's conversion differs from the reference's (the platform converters') when it measures
// and when it converts into rooms of every interesting size, or how it breaks the size rules: a
// measured size (or failure) is what a conversion with room enough gives, and a smaller room gives
// -2. "" when all is well.
inline std::string Disagreement(const Route& route, KF_String::Encoding from, std::string_view src, long srcBytes,
                                KF_String::Encoding to, bool terminate, bool lossy, const Route& reference = kPlatform)
{
    const Outcome measured = ConvertOnce(reference, from, src, srcBytes, to, -1, terminate, lossy);
    const long exact = measured.code > 0 ? measured.code : long(src.size()) * 4 + 8;
    const Outcome roomy = ConvertOnce(reference, from, src, srcBytes, to, exact + 7, terminate, lossy);
    for (long room : {-1L, exact, exact - 1, exact / 2, 0L, exact + 7}) {
        const Outcome got = ConvertOnce(route, from, src, srcBytes, to, room, terminate, lossy);
        const bool enough = room >= (measured.code >= 0 ? measured.code : exact);
        std::ostringstream why;
        if (&route != &reference && !(got == ConvertOnce(reference, from, src, srcBytes, to, room, terminate, lossy))) {
            why << route.name << " gives " << got << " unlike " << reference.name;
        } else if (enough && !(got == roomy)) {
            why << "measured " << measured << " but converted " << got;
        } else if (measured.code >= 0 && room >= 0 && !enough && got.code != -2) {
            why << "too small a room gives " << got.code;
        } else {
            continue;
        }
        why << " (" << from << " -> " << to << ", room " << room << ", terminate " << terminate << ", lossy " << lossy
            << ")";
        return why.str();
    }
    return {};
}

// The bytes of a conversion without terminator, or "<code>" when it fails, or "<what is wrong>"
// when measuring and converting into rooms of every size disagree.
inline std::string Converted(KF_String::Encoding from, std::string_view src, KF_String::Encoding to, bool lossy,
                             const Route& route = kRoutes[0])
{
    const long n = long(src.size());
    std::string const why = Disagreement(route, from, src, n, to, false, lossy, route);
    const Outcome out = ConvertOnce(route, from, src, n, to, n * 4 + 16, false, lossy);
    return !why.empty() ? "<" + why + ">" : out.code < 0 ? "<" + std::to_string(out.code) + ">" : out.bytes;
}

} // namespace kftest
