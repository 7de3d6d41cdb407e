// SPDX-License-Identifier: Apache-2.0
#include <fcntl.h>
#include <gmock/gmock.h>
#include <host/runtime_dir.h>
#include <sys/stat.h>
#include <unistd.h>

#include "temporary_runtime.h"

namespace {

using android::host::hostRuntimeDir;
using android::host::hostRuntimeSubdir;
namespace fs = std::filesystem;
using testing::AllOf;
using testing::HasSubstr;

// The folder, or the message of a refusal.
std::string found() {
    std::string path = "untouched";
    std::string error;
    if (hostRuntimeDir(&path, &error)) return path;
    EXPECT_EQ("untouched", path);
    return error;
}

using RuntimeDirTest = TemporaryRuntime;

TEST_F(RuntimeDirTest, MissingFolderIsMadePrivateAndFoundAgain) {
    const mode_t former = umask(0);
    EXPECT_EQ(mDir, found());
    umask(former);
    EXPECT_EQ(fs::perms::owner_all, fs::status(mDir).permissions());
    setenv("ANDROID_HOST_DIR", (mDir + "//").c_str(), 1);
    EXPECT_EQ(mDir, found());
}

TEST_F(RuntimeDirTest, AnyPermissionForOthersIsRefused) {
    EXPECT_EQ(mDir, found());
    for (const mode_t open : {0710, 0701, 0740, 0704, 0720, 0702}) {
        ASSERT_EQ(0, chmod(mDir.c_str(), open));
        EXPECT_THAT(found(), AllOf(HasSubstr(mDir), HasSubstr("0700")));
        EXPECT_EQ(fs::perms(open), fs::status(mDir).permissions())
            << "it must not be corrected silently";
    }
    ASSERT_EQ(0, chmod(mDir.c_str(), 0500));
    EXPECT_EQ(mDir, found());
}

TEST_F(RuntimeDirTest, LinkAndFolderAreJudgedByTheirMakers) {
    const std::string target = mBase + "/target";
    ASSERT_EQ(0, mkdir(target.c_str(), 0700));
    ASSERT_EQ(0, symlink(target.c_str(), mDir.c_str()));
    EXPECT_EQ(mDir, found());
    ASSERT_EQ(0, chmod(target.c_str(), 0755));
    EXPECT_THAT(found(), HasSubstr("0755"));
    if (geteuid() != 0) GTEST_SKIP() << "the rest needs root, to give a link to another user";
    ASSERT_EQ(0, chmod(target.c_str(), 0700));
    ASSERT_EQ(0, lchown(mDir.c_str(), 12345, 12345));
    EXPECT_THAT(found(), AllOf(HasSubstr("symbolic link"), HasSubstr("uid 12345")));
    setenv("ANDROID_HOST_DIR", target.c_str(), 1);
    EXPECT_EQ(target, found());
    ASSERT_EQ(0, chown(target.c_str(), 12345, 12345));
    EXPECT_THAT(found(), AllOf(HasSubstr(target), HasSubstr("uid 12345"), HasSubstr("uid 0")));
}

TEST_F(RuntimeDirTest, UnusableSettingsAreExplained) {
    close(open(mDir.c_str(), O_CREAT | O_WRONLY, 0600));
    EXPECT_THAT(found(), AllOf(HasSubstr(mDir), HasSubstr("not a folder")));
    setenv("ANDROID_HOST_DIR", "relative/dir", 1);
    EXPECT_THAT(found(), AllOf(HasSubstr("relative/dir"), HasSubstr("absolute")));
    setenv("ANDROID_HOST_DIR", (mBase + "/no/parent").c_str(), 1);
    EXPECT_THAT(found(), AllOf(HasSubstr("/no/parent"), HasSubstr("parent")));
}

TEST_F(RuntimeDirTest, DefaultsFollowTheSessionFolder) {
    setenv("XDG_RUNTIME_DIR", mBase.c_str(), 1);
    setenv("ANDROID_HOST_DIR", "", 1);
    EXPECT_EQ(mBase + "/android-host", found());
    unsetenv("ANDROID_HOST_DIR");
    EXPECT_EQ(mBase + "/android-host", found());
    unsetenv("XDG_RUNTIME_DIR");
}

TEST_F(RuntimeDirTest, SubfoldersArePrivateAndStayBelowTheFolder) {
    std::string path;
    std::string error;
    for (const std::string name : {"", "/", "..", ".", "a/../b", "/a", "a/", "a//b"}) {
        EXPECT_FALSE(hostRuntimeSubdir(name, &path, &error)) << name;
    }
    ASSERT_TRUE(hostRuntimeSubdir("a/b", &path, &error)) << error;
    EXPECT_EQ(mDir + "/a/b", path);
    EXPECT_EQ(fs::perms::owner_all, fs::status(mDir + "/a").permissions());
    ASSERT_EQ(0, chmod((mDir + "/a").c_str(), 0755));
    EXPECT_FALSE(hostRuntimeSubdir("a/b", &path, &error));
    EXPECT_THAT(error, HasSubstr(mDir + "/a "));
}

}  // namespace
