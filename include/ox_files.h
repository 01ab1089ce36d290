/* File-system helpers for the host: existence tests and the listing of the
 * files of one folder, on the POSIX directory interface.
 *
 * Listing rule, shared by the counters and the name lists: the folder's
 * entries are taken in the order the directory interface yields them
 * (not sorted), skipping every name that begins with "." (the folder, its
 * parent and hidden files) and every entry of directory type; symbolic
 * links and entries of unknown type are taken. The full name of an entry
 * is the folder text followed directly by the entry name (no separator is
 * inserted: end the folder with "/"). A full name that does not fit in
 * OX_FILE_NAME_SIZE bytes with its NUL is skipped by the counters and the
 * lists alike, so a count always sizes the list it announces. */
#ifndef OX_FILES_H
#define OX_FILES_H

#include "ox_export.h"

OX_BEGIN_DECLS

/* Size of every name buffer stored by oxGetFileNames, NUL included. */
#define OX_FILE_NAME_SIZE 1024

/* 0 if `path` can be opened as a directory, 1 otherwise. */
OX_API int32_t oxCheckFolderExistence(const char* path);

/* 0 if `path` can be opened for reading and is not a directory, 1 otherwise
 * (missing, no permission, a directory). */
OX_API int32_t oxCheckFileExistence(const char* path);

/* Number of entries the listing takes in `folder`; 0 when it cannot be
 * opened. */
OX_API int32_t oxGetFilesNumber(const char* folder);
/* Same count as oxGetFilesNumber: the extension is accepted and not used. */
OX_API int32_t oxGetFilesNumberWithExtension(const char* folder, const char* extension);

/* Stores the full name of every taken entry into names[0], names[1], ...
 * and returns how many were stored; 0 when the folder cannot be opened.
 * The caller sizes `names` beforehand (with oxGetFilesNumber; the size is
 * not checked) and frees every stored name, an OX_FILE_NAME_SIZE-byte
 * malloc'ed buffer, with free(). Should a name buffer not be allocated, the
 * listing stops there and returns the names stored so far. */
OX_API int32_t oxGetFileNames(const char* folder, char** names);
/* Same as oxGetFileNames: the extension is accepted and not used. */
OX_API int32_t oxGetFileNamesWithExtension(const char* folder, const char* extension, char** names);

/* The listing of sub-folders is not provided: both always return 0. */
OX_API int32_t oxGetDirsNumber(void);
OX_API int32_t oxGetDirNames(void);

OX_END_DECLS

#endif /* OX_FILES_H */
