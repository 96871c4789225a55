// Finding library parts by file, name and index: the name rules, missing definitions and who
// deletes the host's locations (a location nobody deletes fails the asan build's leak check).
#include "LibsFixture.hpp"

#include "KF/KF_LibPart.hpp"

using namespace kftest;

namespace {

class PartsTest : public HostTest {
protected:
    void SetUp() override
    {
        HostTest::SetUp();
        library_ = Library("Lib", {{"Wall Lamp.part", "Lamp"},
                                   {"Lamp.part", "Lamp"},
                                   {"a.b.part", "Object"},
                                   {"a.b.c.part", "Object"},
                                   {"sub/Desk", "Object"}});
        kftest::WriteFile(library_ / "library.index", "Object Ghost Chair\nLamp Lamp\n");
        kfhost::HostConfig config;
        config.libraries = {library_};
        Start(config);
    }
    // The name the host answered for a search through LibPart.
    static std::string Found(bool ok, API_LibPart& part)
    {
        std::string const name = ok ? Utf8(part.docu_UName) : "<none>";
        delete part.location;
        return name;
    }
    fs::path library_;
};

TEST_F(PartsTest, NamesComeFromTheLastSlashAndTheLastDot)
{
    API_LibPart part;
    EXPECT_EQ(Found(KF_LibPart::LibPart(KF_Location(S("/L/Wall Lamp.part")), API_LampID, part), part), "Wall Lamp");
    EXPECT_EQ(Found(KF_LibPart::LibPart(KF_Location(S("Lamp.part")), API_LampID, part), part), "Lamp");
    // A "." in a folder name leaves the empty name, which is searched as such: no part "Lamp".
    EXPECT_EQ(Found(KF_LibPart::LibPart(KF_Location(S("/L/Set 1.0/Lamp")), API_LampID, part), part), "<none>");
    EXPECT_EQ(Found(KF_LibPart::LibPart(S("Lamp.part"), API_LampID, part), part), "Lamp");
    EXPECT_EQ(Found(KF_LibPart::LibPart(S("a.b.c"), API_ObjectID, part), part), "a.b");
    EXPECT_EQ(Found(KF_LibPart::LibPart(S("a.b.c.part"), API_ObjectID, part), part), "a.b.c");
    EXPECT_EQ(Found(KF_LibPart::LibPart(S("Desk"), API_ObjectID, part), part), "Desk");
}

TEST_F(PartsTest, AMissingDefinitionAnswersMinus7003AndKeepsNoLocation)
{
    API_LibPart part;
    EXPECT_EQ(KF_LibPart::Search(S("Ghost Chair"), API_ObjectID, part), -7003);
    EXPECT_EQ(part.location, nullptr);
    const long ghost = part.index;
    ASSERT_GT(ghost, 0);
    EXPECT_FALSE(KF_LibPart::LibPart(ghost, part));
    EXPECT_EQ(part.location, nullptr);
    EXPECT_EQ(KF_LibPart::Index(S("Ghost Chair"), API_ObjectID), -1);

    KF_Location out(S("/unchanged"));
    EXPECT_FALSE(KF_LibPart::Location(ghost, out));
    EXPECT_FALSE(KF_LibPart::Location(KF_Location(S("/x/Ghost Chair.part")), API_ObjectID, out));
    EXPECT_FALSE(KF_LibPart::Location(long(99999), out));
    EXPECT_EQ(Utf8(out.path), "/unchanged");
}

TEST_F(PartsTest, LocationsNameThePartFiles)
{
    KF_Location out;
    ASSERT_TRUE(KF_LibPart::Location(KF_Location(S("/elsewhere/Desk.txt")), API_ObjectID, out));
    EXPECT_EQ(Utf8(out.path), (library_ / "sub" / "Desk").string());
    const long lamp = KF_LibPart::Index(S("wall LAMP"), API_LampID);
    EXPECT_EQ(KF_LibPart::Index(S("Wall Lamp"), LibPartKind_Door), -1);
    EXPECT_EQ(KF_LibPart::Index(S("Wall Lamp"), API_ZombieLibID), lamp);
    ASSERT_TRUE(KF_LibPart::Location(lamp, out));
    EXPECT_EQ(Utf8(out.path), (library_ / "Wall Lamp.part").string());
    API_LibPart part;
    ASSERT_TRUE(KF_LibPart::LibPart(lamp, part));
    EXPECT_EQ(Utf8(part.docu_UName), "Wall Lamp");
    EXPECT_EQ(part.typeID, API_LampID);
    delete part.location;
    // A found part's location is the caller's: deleted here, a second delete in the framework shows.
    ASSERT_EQ(KF_LibPart::Search(S("Desk"), API_ObjectID, part), NoError);
    ASSERT_NE(part.location, nullptr);
    delete part.location;
}

} // namespace
