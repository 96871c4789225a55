#include "HostTextEncoding.hpp"

#include <atomic>

namespace Base {

namespace {
std::atomic<AppTextEncoding> sAppTextEncoding{AppTextEncoding::UTF8};
}

AppTextEncoding GetApplicationTextEncoding()
{
    return sAppTextEncoding.load(std::memory_order_relaxed);
}

void SetApplicationTextEncoding(AppTextEncoding encoding)
{
    sAppTextEncoding.store(encoding, std::memory_order_relaxed);
}

} // namespace Base
