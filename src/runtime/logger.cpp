// The leveled logger and its process-wide registry.
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "core/detail/handles.hpp"
#include "runtime/detail/settings.hpp"
#include "ox_logger.h"

using namespace ox::detail;

extern "C" {
OX_API oxLogger** registered_loggers = nullptr;
OX_API int32_t registered_logger_size = 0;
}

namespace {

constexpr size_t kTextSize = OX_LOGGER_TEXT_SIZE;

// Codes and prefixes are taken as printf formats without arguments. Only
// "%%" has a meaning then; any other conversion would read an argument
// that is not there, so it is copied as written instead.
void formatWithoutArguments(char* dst, size_t size, const char* text) {
    size_t n = 0;
    for (const char* p = text; *p != '\0' && n + 1 < size; ++p) {
        if (p[0] == '%' && p[1] == '%') ++p;
        dst[n++] = *p;
    }
    dst[n] = '\0';
}

void freePrefixes(oxLogger* logger) {
    if (logger->levelMessages)
        for (int32_t i = 0; i < logger->levelCount; ++i) std::free(logger->levelMessages[i]);
    std::free(logger->levelMessages);
    logger->levelMessages = nullptr;
    logger->levelCount = 0;
    logger->level = -1;
}

void closeReference(oxLogger* logger) {
    if (logger->compareStream) std::fclose(logger->compareStream);
    logger->compareStream = nullptr;
}

// Frees a logger that is no longer (or not yet) in the registry.
struct LoggerDestroyer {
    void operator()(oxLogger* logger) const noexcept {
        freePrefixes(logger);
        closeReference(logger);
        std::free(logger);
    }
};
using LoggerPtr = std::unique_ptr<oxLogger, LoggerDestroyer>;

struct FileCloser {
    void operator()(FILE* f) const noexcept { std::fclose(f); }
};
using FilePtr = std::unique_ptr<FILE, FileCloser>;

bool allocatePrefixes(oxLogger* logger, int32_t levelCount) {
    logger->levelMessages = static_cast<char**>(std::calloc(static_cast<size_t>(levelCount), sizeof(char*)));
    if (!logger->levelMessages) return false;
    for (int32_t i = 0; i < levelCount; ++i) {
        // Counted as it goes, so that a failure frees exactly what exists.
        logger->levelMessages[i] = static_cast<char*>(std::calloc(1, kTextSize));
        if (!logger->levelMessages[i]) return false;
        logger->levelCount = i + 1;
        std::snprintf(logger->levelMessages[i], kTextSize, "[Log Level %d]", i);
    }
    return true;
}

// When the registry cannot grow, the logger stays unregistered and the
// registry unchanged.
void registerLogger(oxLogger* logger) {
    const int32_t size = loadSetting(registered_logger_size);
    const size_t slots = static_cast<size_t>(size) + 1;
    auto* grown = static_cast<oxLogger**>(std::realloc(loadSetting(registered_loggers), slots * sizeof(oxLogger*)));
    if (!grown) return;
    grown[size] = logger;
    storeSetting(registered_loggers, grown);
    storeSetting(registered_logger_size, size + 1);
}

// The registry as one reading of its two variables.
struct Registry {
    oxLogger** slots;
    int32_t size;
};

Registry registry() { return {loadSetting(registered_loggers), loadSetting(registered_logger_size)}; }

void appendToFile(const oxLogger& logger, const char* prefix, const char* message) {
    if (!logger.filePath) return;
    // A line longer than the buffer is cut, its newline included: the
    // prefix and the message already hold up to 999 bytes each.
    char line[kTextSize];
    if (std::snprintf(line, sizeof line, "%s: %s\n", prefix, message) < 0) return;
    {
        FilePtr file(std::fopen(logger.filePath, "a"));
        if (!file) return;
        std::fputs(line, file.get());
    }
    if (!logger.compareStream) return;
    char reference[kTextSize];
    // An exhausted reference file compares as an empty line.
    if (!std::fgets(reference, sizeof reference, logger.compareStream)) reference[0] = '\0';
    if (logger.compareCallback)
        logger.compareCallback(static_cast<int32_t>(std::strcmp(reference, line)), reference, line);
}

}  // namespace

extern "C" {

OX_API oxLogger* oxLoggerCreate(const char* code, int32_t levelCount) {
    LoggerPtr logger(allocateRecord<oxLogger>());
    if (!logger) return nullptr;
    formatWithoutArguments(logger->code, sizeof logger->code, code ? code : "");
    logger->level = -1;
    logger->mode = 0;
    if (levelCount > 0 && !allocatePrefixes(logger.get(), levelCount)) return nullptr;
    // An inert logger keeps its count as given, negative included.
    logger->levelCount = levelCount;
    registerLogger(logger.get());
    return logger.release();
}

OX_API void oxLoggerRelease(oxLogger** logger) {
    if (!logger || !*logger) return;
    oxLogger* self = *logger;
    const Registry r = registry();
    for (int32_t i = 0; i < r.size; ++i) {
        oxLogger*& slot = r.slots[i];
        // Every logger sharing the code leaves the registry too: deliberate.
        // The pointer test only guards a code the host rewrote in place.
        if (slot && (slot == self || std::strcmp(slot->code, self->code) == 0)) slot = nullptr;
    }
    LoggerDestroyer{}(self);
    *logger = nullptr;
}

OX_API oxLogger* oxLoggerFindByCode(const char* code) {
    if (!code) return nullptr;
    const Registry r = registry();
    for (int32_t i = 0; i < r.size; ++i) {
        oxLogger* slot = r.slots[i];
        if (slot && std::strcmp(slot->code, code) == 0) return slot;
    }
    return nullptr;
}

OX_API int32_t oxLoggerGetLogLevels(const oxLogger* logger) { return logger ? logger->levelCount : 0; }

OX_API void oxLoggerSetLevelMessage(oxLogger* logger, int32_t level, const char* text) {
    if (!logger || !text || level < 0 || level >= logger->levelCount || !logger->levelMessages) return;
    formatWithoutArguments(logger->levelMessages[level], kTextSize, text);
}

OX_API void oxLoggerSetLevel(oxLogger* logger, int32_t level) {
    if (logger && logger->levelCount >= 1) logger->level = level;
}

OX_API void oxLoggerSetMode(oxLogger* logger, int32_t mode, const char* filePath, int32_t truncate,
                            const char* comparePath, oxLoggerCompareCallback compareCallback) {
    if (!logger || logger->levelCount < 1) return;
    closeReference(logger);
    logger->mode = mode;
    if (mode != 1 && mode != 2) return;
    logger->filePath = filePath;
    if (!truncate) return;
    if (filePath) {
        FilePtr emptied(std::fopen(filePath, "w"));
    }
    if (comparePath) {
        logger->compareStream = std::fopen(comparePath, "r");
        logger->compareCallback = compareCallback;
    }
}

OX_API void oxLoggerPrint(const oxLogger* logger, int32_t level, const char* format, ...) {
    if (!logger || !format || logger->levelCount < 1 || !logger->levelMessages) return;
    // A level outside the prefix table is refused, whatever the threshold.
    if (level < 0 || level >= logger->levelCount || level > logger->level) return;
    char message[kTextSize];
    va_list args;
    va_start(args, format);
    std::vsnprintf(message, sizeof message, format, args);
    va_end(args);
    const char* prefix = logger->levelMessages[level];
    if (logger->mode == 0 || logger->mode == 2) std::printf("%s: %s\n", prefix, message);
    if (logger->mode == 1 || logger->mode == 2) appendToFile(*logger, prefix, message);
}

}  // extern "C"
