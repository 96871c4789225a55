// The fault probe. Menu 32500 item N does fault N (see fault.res); module command 'FLT ' 1 does
// the fault its parameter handle's first byte names (without one, the planned fault of "command");
// an entry point does the planned fault.
#include "Fault.hpp"

#include "HostAPI.hpp"
#include "AddOnLinkage.hpp"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>
#include <stdexcept>
#include <string>

#ifndef FAULT_NAME
#define FAULT_NAME "Fault"
#endif

namespace fault {

namespace {

// Each frame keeps a buffer the compiler cannot drop, so the stack really runs out; the flag only
// keeps the compiler from seeing that it never ends.
volatile bool sDeeper = true;

int Deeper(int depth)
{
    volatile char frame[512];
    frame[0] = char(depth);
    return sDeeper ? Deeper(depth + 1) + frame[0] : 0;
}

} // namespace

void Do(How how)
{
    switch (how) {
    case How::None:
        return;
    case How::Null: {
        // A field of a null record: the first page faults, and the sanitizers do not end it first.
        int* volatile p = reinterpret_cast<int*>(std::uintptr_t(8));
        *p = 1;
        return;
    }
    case How::Abort:
        std::abort();
    case How::Loop:
        for (volatile bool forever = true; forever;) {
        }
        return;
    case How::Recursion:
        Deeper(0);
        return;
    case How::BadAlloc:
        throw std::bad_alloc();
    case How::RuntimeError:
        throw std::runtime_error("the fault probe failed on purpose");
    case How::Int:
        throw 42;
    }
}

How FromName(std::string_view name)
{
    constexpr std::pair<std::string_view, How> kNames[] = {{"null", How::Null},
                                                           {"abort", How::Abort},
                                                           {"loop", How::Loop},
                                                           {"recursion", How::Recursion},
                                                           {"bad_alloc", How::BadAlloc},
                                                           {"runtime_error", How::RuntimeError},
                                                           {"int", How::Int}};
    for (const auto& [n, h] : kNames)
        if (n == name)
            return h;
    return How::None;
}

Plan& CurrentPlan()
{
    static Plan plan = [] {
        // "<add-on name>:<entry point>:<how>"; other add-ons of the same source stay well.
        static std::string text = std::getenv("KF_FAULT_AT") ? std::getenv("KF_FAULT_AT") : "";
        const std::string_view all = text;
        const std::string_view mine = FAULT_NAME ":";
        if (all.substr(0, mine.size()) != mine)
            return Plan{};
        const std::string_view rest = all.substr(mine.size());
        const std::size_t colon = rest.find(':');
        if (colon == std::string_view::npos)
            return Plan{};
        return Plan{rest.substr(0, colon), FromName(rest.substr(colon + 1))};
    }();
    return plan;
}

} // namespace fault

namespace {

constexpr HostFourCC kCommand = Base::FourCC("FLT ");

void At(std::string_view entry)
{
    if (fault::CurrentPlan().entry == entry)
        fault::Do(fault::CurrentPlan().how);
}

HostErrCode MenuHandler(const API_MenuParams* params)
{
    fault::Do(fault::How(params->menuItemRef.itemIndex < 8 ? params->menuItemRef.itemIndex : 0));
    return NoError;
}

HostErrCode CommandHandler(HostHandle params, HostPtr, bool)
{
    if (params)
        fault::Do(fault::How(**params));
    else
        At("command");
    return NoError;
}

} // namespace

API_AddOnType CheckEnvironment(API_EnvirParams* envir)
{
    envir->addOnInfo.name = Base::UniString::FromUTF8(FAULT_NAME);
    envir->addOnInfo.description = Base::UniString::FromUTF8("crashes, hangs and throws where it is told to");
    At("CheckEnvironment");
    return AddOnType_Normal;
}

HostErrCode RegisterInterface()
{
    At("RegisterInterface");
    if (const HostErrCode err = HostAPI_Register_Menu(32500, 0, MenuCode_Tools, 0); err != NoError)
        return err;
    return HostAPI_Register_SupportedService(kCommand, 1);
}

HostErrCode Initialize()
{
    At("Initialize");
    HostErrCode err = HostAPI_Install_MenuHandler(32500, MenuHandler);
    err |= HostAPI_Install_ModulCommandHandler(kCommand, 1, CommandHandler);
    return err;
}

HostErrCode FreeData()
{
    At("FreeData");
    return NoError;
}
