/* A small leveled logger for the host: a name (its code), a fixed number of
 * message levels with one prefix each, a threshold, and an output mode
 * (console, log file, or both). A file logger can replay a reference file
 * line by line and tell a callback whether each written line matches.
 *
 * Loggers live in a process-wide registry so any part of the host can find
 * one by its code. Nothing here is synchronised: use the loggers and the
 * registry from one thread. No function reports an error code. */
#ifndef OX_LOGGER_H
#define OX_LOGGER_H

#include <stdio.h>

#include "ox_export.h"

OX_BEGIN_DECLS

#if defined(__GNUC__) || defined(__clang__)
#  define OX_PRINTF_LIKE(fmt, args) __attribute__((format(printf, fmt, args)))
#else
#  define OX_PRINTF_LIKE(fmt, args)
#endif

/* Output modes (oxLogger.mode, oxLoggerSetMode); plain integers work
 * alike, and any other value emits nothing. */
enum {
    OX_LOG_CONSOLE = 0,         /* standard output */
    OX_LOG_FILE = 1,            /* appended to the log file */
    OX_LOG_CONSOLE_AND_FILE = 2 /* both */
};

/* Length of the code, of every prefix and of every formatted message
 * buffer, terminating NUL included. */
#define OX_LOGGER_TEXT_SIZE 1000

/* Called once per line written to the log file while a reference file is
 * replayed: `comparison` is the byte-wise string comparison of the
 * reference line with the written line (0 when equal); both lines keep
 * their newline. An exhausted reference file gives an empty reference. */
typedef void (*oxLoggerCompareCallback)(int32_t comparison, const char* referenceLine, const char* writtenLine);

typedef struct oxLogger {
    char code[OX_LOGGER_TEXT_SIZE]; /* the logger's name */
    int32_t levelCount;             /* levels 0..levelCount-1; below 1 the logger is inert */
    int32_t level;                  /* threshold: level m is emitted when m <= level; -1 at start */
    char** levelMessages;           /* levelCount owned prefix buffers of OX_LOGGER_TEXT_SIZE bytes */
    int32_t mode;                   /* OX_LOG_CONSOLE, OX_LOG_FILE or OX_LOG_CONSOLE_AND_FILE */
    const char* filePath;           /* log file path, not owned: the caller keeps it alive */
    FILE* compareStream;            /* reference file being replayed (owned), or null */
    oxLoggerCompareCallback compareCallback;
} oxLogger;

/* The registry: `registered_logger_size` slots, each a logger or null.
 * Slots of released loggers become null and are never reused. */
OX_API extern oxLogger** registered_loggers;
OX_API extern int32_t registered_logger_size;

/* New logger named `code` with `levelCount` levels whose prefixes are
 * "[Log Level 0]", "[Log Level 1]", ...; threshold -1 (emits nothing until
 * oxLoggerSetLevel), mode 0. The code is taken as a format without
 * arguments: "%%" becomes "%", any other conversion is kept as written;
 * it is truncated to 999 bytes. The logger is appended to the registry;
 * when the registry cannot grow it is returned unregistered. Null when the
 * logger cannot be allocated. Release it with oxLoggerRelease. */
OX_API oxLogger* oxLoggerCreate(const char* code, int32_t levelCount);

/* Unregisters every logger whose code equals this logger's code (the
 * others stay alive but can no longer be found: this is deliberate), closes
 * the reference file, frees the logger and nulls *logger; null ignored. */
OX_API void oxLoggerRelease(oxLogger** logger);

/* First registered logger whose code equals `code`, or null. */
OX_API oxLogger* oxLoggerFindByCode(const char* code);

/* The logger's levelCount. */
OX_API int32_t oxLoggerGetLogLevels(const oxLogger* logger);

/* Replaces the prefix of level `level` (0..levelCount-1; other levels are
 * ignored) with `text`, read as a format without arguments like the code
 * and truncated to 999 bytes. */
OX_API void oxLoggerSetLevelMessage(oxLogger* logger, int32_t level, const char* text);

/* Sets the threshold; ignored by an inert logger. */
OX_API void oxLoggerSetLevel(oxLogger* logger, int32_t level);

/* Chooses the outputs (ignored by an inert logger). Closes the reference
 * file taken before, then stores `mode`. For the file modes 1 and 2 it
 * also stores `filePath` (kept, not copied) and, when `truncate` is
 * non-zero, empties that file and takes `comparePath` (when non-null) as
 * the reference file, opened for reading, with `compareCallback`. With
 * `truncate` 0, or in modes 0 and 3, no file is touched and `comparePath`
 * and `compareCallback` are ignored. */
OX_API void oxLoggerSetMode(oxLogger* logger, int32_t mode, const char* filePath, int32_t truncate,
                            const char* comparePath, oxLoggerCompareCallback compareCallback);

/* Emits "<prefix>: <message>\n" when 0 <= level < levelCount and level <=
 * the threshold: to standard output in modes 0 and 2, appended to the log
 * file in modes 1 and 2 (opened and closed for every message; an
 * unopenable file drops the line and its comparison). The message is
 * formatted into 1000 bytes, the file line too (longer text is cut). */
OX_API void oxLoggerPrint(const oxLogger* logger, int32_t level, const char* format, ...) OX_PRINTF_LIKE(3, 4);

OX_END_DECLS

#endif /* OX_LOGGER_H */
