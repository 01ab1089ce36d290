#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

#include "support/test_support.hpp"

namespace fs = std::filesystem;

namespace {

void touch(const fs::path& p) { std::ofstream(p) << "x"; }

// Lists through the library, frees the names and sorts them (the
// directory order is not defined).
std::vector<std::string> listed(const std::string& folder, const char* extension = nullptr) {
    std::vector<char*> names(8, nullptr);
    const int32_t n = extension ? oxGetFileNamesWithExtension(folder.c_str(), extension, names.data())
                                : oxGetFileNames(folder.c_str(), names.data());
    std::vector<std::string> out(names.begin(), names.begin() + n);
    for (int32_t i = 0; i < n; ++i) std::free(names[i]);
    std::sort(out.begin(), out.end());
    return out;
}

}  // namespace

TEST(Files, ListingSkipsHiddenEntriesAndFoldersAndInsertsNoSeparator) {
    oxtest::TempDir tmp;
    const fs::path dir = tmp.path() / "dir";
    fs::create_directories(dir / "sub");
    for (const char* name : {"a.png", "b.txt", ".hidden", "sub/inner.png"}) touch(dir / name);
    fs::create_symlink(dir / "a.png", dir / "ln");
    const std::string d = dir.string();
    struct Case {
        std::string folder;
        const char* extension;
        std::vector<std::string> names;
    } cases[] = {{d + "/", nullptr, {d + "/a.png", d + "/b.txt", d + "/ln"}},
                 {d, ".png", {d + "a.png", d + "b.txt", d + "ln"}},
                 {d + "/missing/", nullptr, {}},
                 {d + "/a.png", nullptr, {}}};
    for (const Case& c : cases) {
        EXPECT_EQ(listed(c.folder, c.extension), c.names) << c.folder;
        EXPECT_EQ(oxGetFilesNumber(c.folder.c_str()), static_cast<int32_t>(c.names.size())) << c.folder;
        EXPECT_EQ(oxGetFilesNumberWithExtension(c.folder.c_str(), ".xyz"), oxGetFilesNumber(c.folder.c_str()));
    }
    struct Exists {
        fs::path path;
        int32_t file, folder;
    } exists[] = {{dir / "a.png", 0, 1}, {dir / "sub", 1, 0}, {dir / "ln", 0, 1}, {dir / "none", 1, 1}};
    for (const Exists& e : exists) {
        EXPECT_EQ(oxCheckFileExistence(e.path.c_str()), e.file) << e.path;
        EXPECT_EQ(oxCheckFolderExistence(e.path.c_str()), e.folder) << e.path;
    }
    EXPECT_EQ(oxGetDirsNumber() + oxGetDirNames(), 0);
}

TEST(Files, FullNamesThatDoNotFitAreNeitherCountedNorListed) {
    oxtest::TempDir tmp;
    fs::path deep = tmp.path();
    while (deep.string().size() < 800) deep /= std::string(100, 'd');
    fs::create_directories(deep);
    const std::string folder = deep.string() + "/";
    const size_t room = OX_FILE_NAME_SIZE - 1 - folder.size();  // longest name that fits with its NUL
    touch(deep / std::string(room, 'f'));
    touch(deep / std::string(room + 1, 'g'));
    EXPECT_EQ(oxGetFilesNumber(folder.c_str()), 1);
    EXPECT_EQ(listed(folder), std::vector<std::string>{folder + std::string(room, 'f')});
}
