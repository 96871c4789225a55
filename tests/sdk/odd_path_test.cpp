// A folder whose name holds bytes that are not UTF-8 reaches the add-on as a path that leads back
// to the same folder.
#include "IO.hpp"
#include "kftest/Files.hpp"
#include "kftest/InProcessHost.hpp"

#include <gtest/gtest.h>

#include <vector>

namespace {

namespace fs = std::filesystem;

TEST(OddPath, TheFrameworkFolderComesBackAsItsOwnBytes)
{
    kftest::TempFolder scratch;
    kfhost::HostConfig config;
    config.frameworkFolder = scratch.Path() / "caf\xe9 \xff\xfe\xed\xa0\x80" / "fw";
    fs::create_directories(config.frameworkFolder);
    kftest::InProcessHost host(config);
    host.Attach();

    IO::Location folder;
    ASSERT_EQ(IO::FileSystem::GetSpecialLocation(IO::FileSystem::FrameworkFolder, &folder), NoError);
    UInt32 needed = 0;
    EXPECT_EQ(folder.ToUTF8POSIXPath(nullptr, 0, &needed), IO::Error);
    std::vector<char> path(needed);
    ASSERT_EQ(folder.ToUTF8POSIXPath(path.data(), UInt32(path.size())), NoError);
    EXPECT_EQ(std::string(path.data()), config.frameworkFolder.string());
    EXPECT_EQ(IO::FileSystem::GetSpecialLocation(99, &folder), APIERR_BADPARS);
}

} // namespace
