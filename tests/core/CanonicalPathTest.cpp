#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "core/TovFile.h"
#include "tests/support/TempFolder.h"

namespace {

constexpr std::size_t kGuard = 4096;
constexpr char kUntouched = 0x5A;

struct Result {
  bool isTerminated;
  bool isGuardIntact;
  std::string path;
};

Result canonical(const std::string& in)
{
  std::vector<char> out(TovFile::kMaxPath + kGuard, kUntouched);
  TovFile::uncFileName(out.data(), in.c_str());
  const auto limit = out.begin() + static_cast<std::ptrdiff_t>(TovFile::kMaxPath);
  const auto end = std::find(out.begin(), limit, '\0');
  return {end != limit,
          std::all_of(limit, out.end(), [](char c) { return c == kUntouched; }),
          std::string(out.begin(), end)};
}

void expectPath(const std::string& in, const std::string& expected)
{
  const Result result = canonical(in);
  EXPECT_TRUE(result.isTerminated) << in;
  EXPECT_TRUE(result.isGuardIntact) << in;
  EXPECT_EQ(result.path, expected) << in;
}

/** A canonical absolute path of that many characters, of which nothing exists. */
std::string longPath(std::size_t length)
{
  std::string path = "/tov_no_such_folder";
  while (path.size() < length)
    path += path.size() % 100 == 99 && path.size() + 1 < length ? "/n" : "n";
  path.resize(length);
  return path;
}

TEST(CanonicalPathSpelling, NoPathEndsInASlashButTheRoot)
{
  expectPath("/tov_no_such_folder/", "/tov_no_such_folder");
  expectPath("/tov_no_such_folder/a/../", "/tov_no_such_folder");
  expectPath("/usr/", "/usr");
  expectPath("/usr/tov_no_such_folder/../", "/usr");
  expectPath("/", "/");
  expectPath("/tov_no_such_folder/..", "/");
}

/** The temporary folder as the working folder, for a test. */
class CanonicalPath : public testing::Test {
protected:
  CanonicalPath()
  {
    std::vector<char> buffer(TovFile::kMaxPath);
    if (::getcwd(buffer.data(), buffer.size()))
      previous = buffer.data();
    hasMoved = ::chdir(temp.folder().c_str()) == 0;
  }
  ~CanonicalPath() override { EXPECT_EQ(::chdir(previous.c_str()), 0); }

  void SetUp() override
  {
    ASSERT_TRUE(hasMoved);
    ASSERT_EQ(::mkdir("real", 0700), 0);
    ASSERT_EQ(::mkdir("real/deep", 0700), 0);
    temp.write("real/take.wav", std::vector<std::uint8_t>{1});
    temp.write("real/deep/take.wav", std::vector<std::uint8_t>{2});
  }

  support::TempFolder temp;
  std::string previous;
  bool hasMoved = false;
};

TEST_F(CanonicalPath, LimitIsSixteenKilobytes)
{
  EXPECT_EQ(TovFile::kMaxPath + 0, 16384u);
}

TEST_F(CanonicalPath, CanonicalPathStays)
{
  expectPath(temp.path("real/take.wav"), temp.path("real/take.wav"));
  expectPath("/", "/");
}

TEST_F(CanonicalPath, RelativePathIsTakenFromTheWorkingFolder)
{
  expectPath("real/take.wav", temp.path("real/take.wav"));
  expectPath("./real/./take.wav", temp.path("real/take.wav"));
  expectPath(".", temp.folder());
}

TEST_F(CanonicalPath, ParentReferencesAndDoubledSlashesAreResolved)
{
  expectPath("real/../real/deep/../take.wav", temp.path("real/take.wav"));
  expectPath(temp.path("real/deep/../deep//take.wav"), temp.path("real/deep/take.wav"));
  expectPath("/../../", "/");
}

TEST_F(CanonicalPath, LinksAreResolved)
{
  ASSERT_EQ(::symlink("real/take.wav", "link.wav"), 0);
  ASSERT_EQ(::symlink(temp.path("real").c_str(), "linked"), 0);
  ASSERT_EQ(::symlink("linked", "twice"), 0);
  expectPath("link.wav", temp.path("real/take.wav"));
  expectPath("linked/take.wav", temp.path("real/take.wav"));
  expectPath("twice/deep/take.wav", temp.path("real/deep/take.wav"));
}

TEST_F(CanonicalPath, ParentOfALinkIsTheParentOfItsTarget)
{
  ASSERT_EQ(::symlink("real/deep", "linked"), 0);
  expectPath("linked/../take.wav", temp.path("real/take.wav"));
}

TEST_F(CanonicalPath, MissingFileInAnExistingFolderIsResolved)
{
  ASSERT_EQ(::symlink("real", "linked"), 0);
  expectPath("missing.wav", temp.path("missing.wav"));
  expectPath("real/missing.wav", temp.path("real/missing.wav"));
  expectPath("linked/missing.wav", temp.path("real/missing.wav"));
  expectPath("real/../missing.wav", temp.path("missing.wav"));
}

TEST_F(CanonicalPath, PathOfMissingFoldersIsResolved)
{
  expectPath("no/such/folder.wav", temp.path("no/such/folder.wav"));
  expectPath("no/./such//folder.wav", temp.path("no/such/folder.wav"));
  expectPath("no/such/../folder.wav", temp.path("no/folder.wav"));
  expectPath("/tov_no_such_folder/a.wav", "/tov_no_such_folder/a.wav");
}

TEST_F(CanonicalPath, LinkThatNamesItselfEnds)
{
  ASSERT_EQ(::symlink("loop", "loop"), 0);
  const Result result = canonical("loop/take.wav");
  EXPECT_TRUE(result.isTerminated);
  EXPECT_TRUE(result.isGuardIntact);
}

TEST_F(CanonicalPath, EmptyPathWritesATerminatedText)
{
  const Result result = canonical("");
  EXPECT_TRUE(result.isTerminated);
  EXPECT_TRUE(result.isGuardIntact);
}

TEST_F(CanonicalPath, LongPathThatFitsIsWhole)
{
  for (const std::size_t length : {300u, 4000u, 4095u, 4096u, 4097u, 10000u, 16382u, 16383u})
    expectPath(longPath(length), longPath(length));
}

TEST_F(CanonicalPath, LongNameIsWhole)
{
  const std::string name(1000, 'n');
  expectPath("/" + name, "/" + name);
  expectPath(name, temp.path(name));
}

TEST_F(CanonicalPath, PathBeyondTheLimitNeverWritesOutsideIt)
{
  for (const std::size_t length : {16384u, 16385u, 16500u, 20480u, 100000u, 3000000u}) {
    for (const std::string& in : {longPath(length), longPath(length).substr(1)}) {
      const Result result = canonical(in);
      EXPECT_TRUE(result.isTerminated) << length;
      EXPECT_TRUE(result.isGuardIntact) << length;
    }
  }
}

TEST_F(CanonicalPath, RelativePathThatOutgrowsTheLimitNeverWritesOutsideIt)
{
  for (std::size_t length = 16384 - temp.folder().size() - 3; length <= 16384; ++length) {
    const Result result = canonical(longPath(length).substr(1));
    ASSERT_TRUE(result.isTerminated) << length;
    ASSERT_TRUE(result.isGuardIntact) << length;
  }
}

TEST_F(CanonicalPath, LongDetourToAShortPathIsResolved)
{
  std::string detour = temp.folder();
  while (detour.size() < 3000)
    detour += "/real/..";
  expectPath(detour + "/real/take.wav", temp.path("real/take.wav"));
}

} // namespace
