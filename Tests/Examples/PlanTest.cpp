#include <Examples/Tour/PlanDigest.hpp>
#include <Examples/Tour/PlanFile.hpp>
#include <QVRoot/Channel/IMemChannel.hpp>
#include <QVRoot/Channel/OMemChannel.hpp>
#include <Tests/Support/TemporaryFolder.hpp>

namespace Tour {

namespace {

using namespace QV;

constexpr UInt32 roomsInArchives = 12;

std::string ReadArchiveFile(const char* name)
{
    return Test::ReadWhole(std::filesystem::path(QV_SOURCE_FOLDER) / "Examples/Tour/archives" / name);
}

std::string Save(const PlanDocument& document, PlatformSign platform)
{
    OMemChannel oc;
    EXPECT_EQ(SavePlan(oc, *document.plan, platform), NoError);
    return std::string(oc.LockData(), oc.DataSize());
}

QVErrCode Load(const std::string& bytes, PlanDocument* document, UniString* what = nullptr)
{
    IMemChannel ic(bytes.data(), static_cast<int>(bytes.size()));
    return LoadPlan(ic, document, what);
}

} // namespace

TEST(TourPlan, IsTheSameOnEveryPlatformAndComesBackFromBoth)
{
    const PlanDocument made = MakePlan(roomsInArchives);
    const std::string little = ReadArchiveFile("linux.qvplan");
    const std::string big = ReadArchiveFile("linux-bigendian.qvplan");
    EXPECT_TRUE(Save(made, WinPlatformSign) == little);
    EXPECT_TRUE(Save(made, MacPlatformSign) == big);
    EXPECT_TRUE(ReadArchiveFile("windows.qvplan") == little) << "written by the other target";
    for (const std::string& bytes : {little, big}) {
        PlanDocument loaded;
        ASSERT_EQ(Load(bytes, &loaded), NoError);
        EXPECT_EQ(loaded.objects.GetCount(), made.objects.GetCount());
        EXPECT_EQ(PlanDigest::Make(*loaded.plan), PlanDigest::Make(*made.plan));
        const auto* const wall = dynamic_cast<const Wall*>(loaded.plan->items[0]);
        ASSERT_TRUE(wall != nullptr);
        EXPECT_EQ(wall->openings[0]->wall, wall);
        EXPECT_EQ(wall->next->next->next->next, wall);
        EXPECT_EQ(wall->layer, loaded.plan->layers[0]);
    }
}

TEST(TourPlan, ReadsAndWritesWhatVersion1OfItsClassesWrote)
{
    const std::string little = ReadArchiveFile("version1.qvplan");
    const std::string big = ReadArchiveFile("version1-bigendian.qvplan");
    for (const std::string& bytes : {little, big}) {
        PlanDocument loaded;
        ASSERT_EQ(Load(bytes, &loaded), NoError);
        EXPECT_EQ(loaded.objects.GetCount(), MakePlan(roomsInArchives).objects.GetCount());
        EXPECT_EQ(dynamic_cast<const Wall&>(*loaded.plan->items[0]).height, Wall().height);
        EXPECT_EQ(loaded.plan->materials[3]->name, u"material 3");
        EXPECT_EQ(loaded.plan->materials[3]->density, Material().density);
        ClassManager::SetOutputVersion(1);
        EXPECT_TRUE(Save(loaded, WinPlatformSign) == little);
        EXPECT_TRUE(Save(loaded, MacPlatformSign) == big);
        ClassManager::SetOutputVersion(0);
    }
}

TEST(TourPlan, SaysWhatIsWrong)
{
    const std::string whole = Save(MakePlan(1), WinPlatformSign);
    PlanDocument document;
    UniString what;
    EXPECT_EQ(Load("no plan at all", &document, &what), ErrDataIntegrity);
    EXPECT_EQ(what, u"not a plan");
    std::string stranger = whole;
    stranger[8] = stranger[9] = 'Z';
    EXPECT_EQ(Load(stranger, &document, &what), ErrGeneral);
    stranger = whole;
    stranger[whole.find("Tour::Wall") - 5] ^= 0x40; // in the identifier before the name and its length
    EXPECT_EQ(Load(stranger, &document, &what), ErrGeneral);
    EXPECT_TRUE(what.Contains(u"class \"Tour::Wall\": it is not registered")) << what.ToCStr().GetText();
    for (std::size_t size = 0; size < whole.size(); ++size) {
        EXPECT_NE(Load(whole.substr(0, size), &document), NoError) << size;
        EXPECT_TRUE(document.plan == nullptr && document.objects.IsEmpty());
    }
}

} // namespace Tour
