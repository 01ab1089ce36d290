// File-system helpers on the POSIX directory interface.
#include <dirent.h>
#include <sys/stat.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "ox_files.h"

namespace {

struct DirCloser {
    void operator()(DIR* d) const noexcept { closedir(d); }
};
using DirPtr = std::unique_ptr<DIR, DirCloser>;

struct FileCloser {
    void operator()(FILE* f) const noexcept { std::fclose(f); }
};
using FilePtr = std::unique_ptr<FILE, FileCloser>;

bool taken(const dirent& entry) { return entry.d_name[0] != '.' && entry.d_type != DT_DIR; }

// A full name that would not fit its buffer is skipped rather than cut:
// a truncated path would name another file, or none.
bool fits(size_t folderLength, const dirent& entry) {
    return folderLength + std::strlen(entry.d_name) < OX_FILE_NAME_SIZE;
}

// Calls visit(entry) for every entry the listing takes, in directory order,
// until visit returns false. Returns false when the folder cannot be opened.
template <class Visit> bool forEachListed(const char* folder, Visit visit) {
    if (!folder) return false;
    DirPtr dir(opendir(folder));
    if (!dir) return false;
    const size_t folderLength = std::strlen(folder);
    while (const dirent* entry = readdir(dir.get()))
        if (taken(*entry) && fits(folderLength, *entry) && !visit(*entry)) break;
    return true;
}

int32_t countListed(const char* folder) {
    int32_t count = 0;
    forEachListed(folder, [&](const dirent&) {
        ++count;
        return true;
    });
    return count;
}

int32_t listNames(const char* folder, char** names) {
    int32_t count = 0;
    forEachListed(folder, [&](const dirent& entry) {
        auto* name = static_cast<char*>(std::malloc(OX_FILE_NAME_SIZE));
        if (!name) return false;
        std::snprintf(name, OX_FILE_NAME_SIZE, "%s%s", folder, entry.d_name);
        names[count++] = name;
        return true;
    });
    return count;
}

}  // namespace

extern "C" {

OX_API int32_t oxCheckFolderExistence(const char* path) {
    if (!path) return 1;
    return DirPtr(opendir(path)) ? 0 : 1;
}

// A directory can be opened for reading here, but it is not a file.
OX_API int32_t oxCheckFileExistence(const char* path) {
    if (!path) return 1;
    FilePtr file(std::fopen(path, "r"));
    if (!file) return 1;
    struct stat info;
    if (fstat(fileno(file.get()), &info) != 0 || S_ISDIR(info.st_mode)) return 1;
    return 0;
}

OX_API int32_t oxGetFilesNumber(const char* folder) { return countListed(folder); }

OX_API int32_t oxGetFilesNumberWithExtension(const char* folder, const char*) { return countListed(folder); }

OX_API int32_t oxGetFileNames(const char* folder, char** names) { return names ? listNames(folder, names) : 0; }

OX_API int32_t oxGetFileNamesWithExtension(const char* folder, const char*, char** names) {
    return names ? listNames(folder, names) : 0;
}

OX_API int32_t oxGetDirsNumber(void) { return 0; }

OX_API int32_t oxGetDirNames(void) { return 0; }

}  // extern "C"
