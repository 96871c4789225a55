// Framework file calls on real files: an attached in-process host whose scratch folder holds them.
#pragma once

#include "kftest/InProcessHost.hpp"
#include "kftest/Text.hpp"

#include "KF/KF_Location.hpp"

#include <gtest/gtest.h>

namespace kftest {

class HostedFiles : public ::testing::Test {
protected:
    void SetUp() override { host.Attach(); }
    std::filesystem::path Path(const char* name) const { return host.TempDir() / name; }
    KF_Location At(const char* name) const { return KF_Location(S(Path(name).string())); }

    InProcessHost host;
};

} // namespace kftest
