// The two settings stores against real files in a hosted framework folder.
#include "SettingsTestSupport.hpp"

#include "IO.hpp"
#include "KF/KF_Location.hpp"

#include <filesystem>

namespace fs = std::filesystem;
using namespace kftest_settings;

namespace {

using StoreFiles = HostedStores;
using StoreLoading = HostedStores;
using StoreEditing = HostedStores;
using StoreSafety = HostedStores;

std::string Value(KF_AddonSettings_Type type, char const* name)
{
    KF_String value;
    EXPECT_TRUE(KF_AddonSettings_Get(type, S(name), &value, false)) << name;
    return Utf8(value);
}

} // namespace

TEST_F(StoreFiles, EachStoreHasItsOwnFileInTheFrameworkFolder)
{
    KF_Location shared;
    KF_Location own;
    ASSERT_EQ(KF_AddonSettings_GetLocation(KF_AddonSettings_AllAddons, shared), NoError);
    ASSERT_EQ(KF_AddonSettings_GetLocation(KF_AddonSettings_ThisAddon, own), NoError);
    EXPECT_EQ(Utf8(shared.path), SharedFile().string());
    EXPECT_EQ(Utf8(own.path), OwnFile().string());

    KF_AddonSettings_Set(KF_AddonSettings_AllAddons, S("Language_str"), S("fra"), true);
    KF_AddonSettings_Set(KF_AddonSettings_ThisAddon, S("AutoUpdate"), S("1"), true);
    ASSERT_TRUE(KF_AddonSettings_Save(KF_AddonSettings_AllAddons));
    ASSERT_TRUE(KF_AddonSettings_Save(KF_AddonSettings_ThisAddon));
    EXPECT_EQ(ReadPlain(SharedFile()), "$Language_str: fra\n");
    EXPECT_EQ(ReadPlain(OwnFile()), "$AutoUpdate: 1\n");
}

TEST_F(StoreFiles, SavedBytesAreExactlyTheScrambledLines)
{
    KF_AddonSettings_Set(KF_AddonSettings_ThisAddon, S("k"), S("a\nb"), true);
    ASSERT_TRUE(KF_AddonSettings_Save(KF_AddonSettings_ThisAddon));
    std::string const expected{'\x42', '\xB6', '\xA3', '\x02', '\x16', '\xA0', '\x32', '\x26', '\xA0'};
    EXPECT_EQ(kftest::ReadFile(OwnFile()), expected);
}

TEST_F(StoreFiles, SaveOfAnEmptyStoreLeavesAnEmptyFile)
{
    WritePlain(OwnFile(), "$k: v\n");
    KF_AddonSettings_Clear(KF_AddonSettings_ThisAddon);
    ASSERT_TRUE(KF_AddonSettings_Save(KF_AddonSettings_ThisAddon));
    EXPECT_TRUE(fs::exists(OwnFile()));
    EXPECT_EQ(fs::file_size(OwnFile()), 0u);
}

TEST_F(StoreFiles, WhatIsSavedLoadsBackWithDuplicatesAndLineBreaks)
{
    auto const type = KF_AddonSettings_AllAddons;
    KF_AddonSettings_Set(type, S("dup"), S("first"), true);
    KF_AddonSettings_Set(type, S("lines"), S("x\r\ny\rz\nw"), true);
    KF_AddonSettings_Set(type, S("empty"), S(""), true);
    ASSERT_TRUE(KF_AddonSettings_Save(type));
    // A duplicate can only come from a file; it is kept as read.
    WritePlain(SharedFile(), ReadPlain(SharedFile()) + "$dup: second\n");

    ASSERT_TRUE(KF_AddonSettings_Load(type, false));
    ASSERT_EQ(KF_AddonSettings_GetCount(type), 4);
    EXPECT_EQ(Value(type, "lines"), "x\r\ny\rz\nw");
    EXPECT_EQ(Value(type, "empty"), "");
    EXPECT_EQ(Value(type, "dup"), "first");
    KF_String name;
    KF_String value;
    ASSERT_TRUE(KF_AddonSettings_Get(type, 3, &name, &value));
    EXPECT_EQ(Utf8(name), "dup");
    EXPECT_EQ(Utf8(value), "second");

    ASSERT_TRUE(KF_AddonSettings_Save(type));
    EXPECT_EQ(ReadPlain(SharedFile()), "$dup: first\n$lines: x\r\n#y\r#z\n#w\n$empty: \n$dup: second\n");
}

TEST_F(StoreLoading, MissingFileLoadsEmptyAndTheFirstSaveCreatesIt)
{
    ASSERT_FALSE(fs::exists(OwnFile()));
    EXPECT_TRUE(KF_AddonSettings_Load(KF_AddonSettings_ThisAddon, true));
    EXPECT_EQ(KF_AddonSettings_GetCount(KF_AddonSettings_ThisAddon), 0);
    EXPECT_FALSE(fs::exists(OwnFile()));

    // Loaded now: a file appearing later is not read by Get with load.
    WritePlain(OwnFile(), "$k: v\n");
    EXPECT_FALSE(KF_AddonSettings_Get(KF_AddonSettings_ThisAddon, S("k"), nullptr, true));

    KF_AddonSettings_Set(KF_AddonSettings_ThisAddon, S("n"), S("1"), true);
    ASSERT_TRUE(KF_AddonSettings_Save(KF_AddonSettings_ThisAddon));
    EXPECT_EQ(ReadPlain(OwnFile()), "$n: 1\n");
}

TEST_F(StoreLoading, GetWithLoadReadsOnceAndLoadWithoutOnlyIfNotLoadedReadsAgain)
{
    auto const type = KF_AddonSettings_ThisAddon;
    WritePlain(OwnFile(), "$k: one\n");
    EXPECT_EQ(Utf8(KF_AddonSettings_Get(type, S("k"), true)), "one");

    WritePlain(OwnFile(), "$k: two\n");
    EXPECT_EQ(Utf8(KF_AddonSettings_Get(type, S("k"), true)), "one");
    EXPECT_TRUE(KF_AddonSettings_Load(type, true));
    EXPECT_EQ(Utf8(KF_AddonSettings_Get(type, S("k"), true)), "one");

    EXPECT_TRUE(KF_AddonSettings_Load(type, false));
    EXPECT_EQ(Utf8(KF_AddonSettings_Get(type, S("k"), true)), "two");
}

TEST_F(StoreLoading, GetWithoutLoadNeverTouchesTheFile)
{
    WritePlain(OwnFile(), "$k: v\n");
    EXPECT_FALSE(KF_AddonSettings_Get(KF_AddonSettings_ThisAddon, S("k"), nullptr, false));
    EXPECT_EQ(Utf8(KF_AddonSettings_Get(KF_AddonSettings_ThisAddon, S("k"), false)), "");
    EXPECT_EQ(KF_AddonSettings_GetCount(KF_AddonSettings_ThisAddon), 0);
}

TEST_F(StoreLoading, SetOnAStoreNeverLoadedIsLostAtTheNextLoad)
{
    KF_AddonSettings_Set(KF_AddonSettings_ThisAddon, S("k"), S("memory"), true);
    // No file at all: the load still empties the list first.
    EXPECT_FALSE(KF_AddonSettings_Get(KF_AddonSettings_ThisAddon, S("k"), nullptr, true));
    EXPECT_EQ(KF_AddonSettings_GetCount(KF_AddonSettings_ThisAddon), 0);
}

TEST_F(StoreLoading, MalformedFileKeepsEntriesBeforeTheFaultAndStaysUnloaded)
{
    auto const type = KF_AddonSettings_ThisAddon;
    WritePlain(OwnFile(), "$a: 1\n$b: 2\nbroken\n$c: 3\n");
    EXPECT_FALSE(KF_AddonSettings_Load(type, true));
    EXPECT_EQ(KF_AddonSettings_GetCount(type), 1);
    EXPECT_EQ(Value(type, "a"), "1");

    // Not loaded: a Get with load tries again and fails again.
    EXPECT_FALSE(KF_AddonSettings_Get(type, S("a"), nullptr, true));
    EXPECT_EQ(KF_AddonSettings_GetCount(type), 1);

    // A later save writes only what survived.
    ASSERT_TRUE(KF_AddonSettings_Save(type));
    EXPECT_EQ(ReadPlain(OwnFile()), "$a: 1\n");
}

TEST_F(StoreLoading, LastLineWithoutLineFeedIsDroppedAndTheLoadSucceeds)
{
    WritePlain(OwnFile(), "$a: 1\n$b: 2");
    EXPECT_TRUE(KF_AddonSettings_Load(KF_AddonSettings_ThisAddon, true));
    EXPECT_EQ(KF_AddonSettings_GetCount(KF_AddonSettings_ThisAddon), 1);
    EXPECT_FALSE(KF_AddonSettings_Get(KF_AddonSettings_ThisAddon, S("b"), nullptr, false));
}

TEST_F(StoreEditing, SetReplacesAppendsOrIgnoresByCreate)
{
    auto const type = KF_AddonSettings_ThisAddon;
    WritePlain(OwnFile(), "$a: 1\n$b: 2\n");
    ASSERT_TRUE(KF_AddonSettings_Load(type, true));

    EXPECT_TRUE(KF_AddonSettings_Set(type, S("absent"), S("x"), false));
    EXPECT_EQ(KF_AddonSettings_GetCount(type), 2);

    EXPECT_TRUE(KF_AddonSettings_Set(type, S("a"), S("10"), false));
    EXPECT_TRUE(KF_AddonSettings_Set(type, S("c"), S("3"), true));
    ASSERT_TRUE(KF_AddonSettings_Save(type));
    EXPECT_EQ(ReadPlain(OwnFile()), "$a: 10\n$b: 2\n$c: 3\n");
}

TEST_F(StoreEditing, NamesAreCaseSensitive)
{
    auto const type = KF_AddonSettings_ThisAddon;
    KF_AddonSettings_Set(type, S("Key"), S("upper"), true);
    EXPECT_FALSE(KF_AddonSettings_Get(type, S("key"), nullptr, false));
    KF_AddonSettings_Set(type, S("key"), S("lower"), true);
    EXPECT_EQ(KF_AddonSettings_GetCount(type), 2);
    EXPECT_EQ(Value(type, "Key"), "upper");
}

TEST_F(StoreEditing, NumbersAreStoredAsTextAndConvertedOnTheWayOut)
{
    auto const type = KF_AddonSettings_ThisAddon;
    KF_AddonSettings_SetLong(type, S("long"), -42, true);
    KF_AddonSettings_SetDouble(type, S("double"), 1.5, true);
    EXPECT_EQ(Value(type, "long"), "-42");
    EXPECT_EQ(Value(type, "double"), "1.5");

    long number = 7;
    EXPECT_TRUE(KF_AddonSettings_GetLong(type, S("long"), &number, false));
    EXPECT_EQ(number, -42);
    double real = 0;
    EXPECT_TRUE(KF_AddonSettings_GetDouble(type, S("double"), &real, false));
    EXPECT_DOUBLE_EQ(real, 1.5);

    number = 7;
    EXPECT_FALSE(KF_AddonSettings_GetLong(type, S("absent"), &number, false));
    EXPECT_EQ(number, 7);
    EXPECT_EQ(KF_AddonSettings_GetLong(type, S("long"), false), -42);
    // Absent gives the conversion of "".
    EXPECT_EQ(KF_AddonSettings_GetLong(type, S("absent"), false), KF_String::ToLong(""));
    EXPECT_EQ(KF_AddonSettings_GetDouble(type, S("absent"), false), KF_String::ToDouble(""));
}

TEST_F(StoreEditing, RemoveTakesTheFirstOfDuplicatesAndClearKeepsTheLoadedFlag)
{
    auto const type = KF_AddonSettings_ThisAddon;
    WritePlain(OwnFile(), "$d: 1\n$x: y\n$d: 2\n");
    ASSERT_TRUE(KF_AddonSettings_Load(type, true));
    EXPECT_TRUE(KF_AddonSettings_Remove(type, S("d")));
    EXPECT_EQ(Value(type, "d"), "2");
    EXPECT_TRUE(KF_AddonSettings_Remove(type, S("d")));
    EXPECT_FALSE(KF_AddonSettings_Remove(type, S("d")));

    KF_AddonSettings_Clear(type);
    EXPECT_EQ(KF_AddonSettings_GetCount(type), 0);
    // Still loaded: Get with load does not read the file again.
    EXPECT_FALSE(KF_AddonSettings_Get(type, S("x"), nullptr, true));
}

TEST_F(StoreEditing, EntryByIndexOnlyInsideTheList)
{
    auto const type = KF_AddonSettings_ThisAddon;
    KF_AddonSettings_Set(type, S("a"), S("1"), true);
    KF_String name = S("unchanged");
    EXPECT_FALSE(KF_AddonSettings_Get(type, -1L, &name, nullptr));
    EXPECT_FALSE(KF_AddonSettings_Get(type, 1L, &name, nullptr));
    EXPECT_EQ(Utf8(name), "unchanged");
    EXPECT_TRUE(KF_AddonSettings_Get(type, 0L, nullptr, nullptr));
}

TEST_F(StoreEditing, LoadSetSaveKeepsWhatTheFileHeld)
{
    WritePlain(SharedFile(), "$Language_str: ger\n$Other: kept\n");
    EXPECT_TRUE(KF_AddonSettings_LoadSetSave(KF_AddonSettings_AllAddons, S("Language_str"), S("spa"), true));
    EXPECT_EQ(ReadPlain(SharedFile()), "$Language_str: spa\n$Other: kept\n");
}

TEST_F(StoreSafety, FileOfOneHundredThousandBytesIsAReadError)
{
    auto const type = KF_AddonSettings_ThisAddon;
    std::string plain = "$a: 1\n$big: ";
    plain += std::string(100000 - plain.size() - 1, 'x');
    plain += '\n';
    ASSERT_EQ(plain.size(), 100000u);
    WritePlain(OwnFile(), plain);

    KF_AddonSettings_Set(type, S("memory"), S("dropped"), true);
    EXPECT_FALSE(KF_AddonSettings_Load(type, true));
    EXPECT_EQ(KF_AddonSettings_GetCount(type), 0);
    // Not loaded: once the file is fit again the next Get with load reads it.
    WritePlain(OwnFile(), "$a: 1\n");
    EXPECT_EQ(Utf8(KF_AddonSettings_Get(type, S("a"), true)), "1");
}

TEST_F(StoreSafety, FileJustUnderTheLimitLoadsWhole)
{
    auto const type = KF_AddonSettings_ThisAddon;
    std::string plain = "$big: ";
    plain += std::string(99999 - plain.size() - 1, 'y');
    plain += '\n';
    WritePlain(OwnFile(), plain);
    ASSERT_TRUE(KF_AddonSettings_Load(type, true));
    EXPECT_EQ(Value(type, "big").size(), 99999u - 7u);
}

TEST_F(StoreSafety, StoreTooLargeToReadBackIsNotWritten)
{
    auto const type = KF_AddonSettings_ThisAddon;
    WritePlain(OwnFile(), "$old: kept\n");
    KF_AddonSettings_Set(type, S("big"), KF_String(std::string(100000, 'z').c_str(), KF_String::Enc_System), true);
    EXPECT_FALSE(KF_AddonSettings_Save(type));
    EXPECT_EQ(ReadPlain(OwnFile()), "$old: kept\n");
}

TEST_F(StoreSafety, FailedWriteLeavesThePreviousFileByteIdentical)
{
    auto const type = KF_AddonSettings_AllAddons;
    WritePlain(SharedFile(), "$Language_str: ita\n$Other: 1\n");
    std::string const before = kftest::ReadFile(SharedFile());
    ASSERT_TRUE(KF_AddonSettings_Load(type, true));
    KF_AddonSettings_Set(type, S("Language_str"), S("rus"), true);

    host.Faults().Fail(kfhost::FileOp::Write, "*", IO::DiskFull);
    EXPECT_FALSE(KF_AddonSettings_Save(type));
    EXPECT_EQ(kftest::ReadFile(SharedFile()), before);
    // Nothing is left beside it either.
    std::size_t entries = 0;
    for ([[maybe_unused]] auto const& entry : fs::directory_iterator(host.FrameworkFolder())) {
        ++entries;
    }
    EXPECT_EQ(entries, 1u);

    // The next save goes through.
    EXPECT_TRUE(KF_AddonSettings_Save(type));
    EXPECT_EQ(ReadPlain(SharedFile()), "$Language_str: rus\n$Other: 1\n");
}

TEST_F(StoreSafety, FailedCreateOpenOrCloseOfTheNewFileLeavesTheOldOne)
{
    auto const type = KF_AddonSettings_ThisAddon;
    WritePlain(OwnFile(), "$k: old\n");
    std::string const before = kftest::ReadFile(OwnFile());
    KF_AddonSettings_Set(type, S("k"), S("new"), true);

    for (auto const op : {kfhost::FileOp::Create, kfhost::FileOp::Open, kfhost::FileOp::Close}) {
        host.Faults().Fail(op, "*", IO::AccessDenied);
        EXPECT_FALSE(KF_AddonSettings_Save(type)) << kfhost::FileOpName(op);
        EXPECT_EQ(kftest::ReadFile(OwnFile()), before) << kfhost::FileOpName(op);
        host.Faults().Clear();
    }
}

TEST_F(StoreSafety, UnreadableFileIsAReadErrorNotAnEmptyStore)
{
    auto const type = KF_AddonSettings_ThisAddon;
    WritePlain(OwnFile(), "$k: v\n");
    host.Faults().Fail(kfhost::FileOp::Read, "*", IO::Error);
    EXPECT_FALSE(KF_AddonSettings_Load(type, true));
    EXPECT_FALSE(KF_AddonSettings_Get(type, S("k"), nullptr, false));
    // Not loaded, so the next Get with load reads it.
    EXPECT_EQ(Utf8(KF_AddonSettings_Get(type, S("k"), true)), "v");
}
