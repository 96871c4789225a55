#include "kfhost/Text.hpp"

#include "kfsdk/Codes.hpp"
#include "kfsdk/HostTable.h"

namespace kfhost {
namespace {

struct ErrorName {
    std::int32_t code;
    const char* name;
    const char* meaning;
};

#define KF_ERROR_NAME(family, name, value, sdkName, meaning) {KF_##family##ERR_##name, #family "ERR_" #name, meaning},
constexpr ErrorName kErrors[] = {{KF_NOERROR, "NoError", "success"}, KF_HOST_ERRORS(KF_ERROR_NAME)};
#undef KF_ERROR_NAME

} // namespace

std::string ErrorText(std::int32_t code)
{
    for (const ErrorName& e : kErrors)
        if (e.code == code)
            return std::string(e.name) + " (" + e.meaning + ")";
    return kfsdk::HexCode(code) + " (a code this host does not know)";
}

} // namespace kfhost
