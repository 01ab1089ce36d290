// Process-wide settings and the host's image hooks: stored and returned,
// never called by the library.
#include <climits>

#include "ox_system.h"
#include "runtime/detail/settings.hpp"

using namespace ox::detail;

extern "C" {

OX_API int32_t number_of_cores = 1;
OX_API int32_t limit_constraint = 0;
OX_API oxCheckImageFunction check_image_func = oxShowImageFuncDefault;
OX_API oxExportImageFunction export_image_func = oxExportImageFuncDefault;
OX_API oxImportImageFunction import_image_func = oxImportImageFuncDefault;
OX_API bool check_image_func_setted = false;
OX_API bool export_image_func_setted = false;
OX_API bool import_image_func_setted = false;

OX_API int32_t oxSystemInfoGetNumberOfCores(void) { return loadSetting(number_of_cores); }

OX_API void oxSystemInfoSetNumberOfCores(int32_t n) { storeSetting(number_of_cores, n); }

OX_API void oxSystemInfoEnableNumberOfCoresExplicitConstraint(int32_t flag) { storeSetting(limit_constraint, flag); }

OX_API int32_t oxSystemInfoNumberOfCoresExplicitConstraintIsEnabled(void) { return loadSetting(limit_constraint); }

OX_API int32_t oxSystemInfoGetMaxNumberOfThreads(void) {
    return loadSetting(limit_constraint) < 1 ? INT32_MAX : loadSetting(number_of_cores);
}

// A hook and its flag are two settings: a reader may see the new hook
// before its flag or the other way round, never a torn value.
OX_API void oxSetCheckImageFunction(oxCheckImageFunction f) {
    storeSetting(check_image_func, f);
    storeSetting(check_image_func_setted, true);
}

OX_API oxCheckImageFunction oxGetCheckImageFunction(void) { return loadSetting(check_image_func); }

OX_API bool oxCheckImageFunctionIsSetted(void) {
    return loadSetting(check_image_func) != nullptr && loadSetting(check_image_func_setted);
}

OX_API void oxSetExportImageFunction(oxExportImageFunction f) {
    storeSetting(export_image_func, f);
    storeSetting(export_image_func_setted, true);
}

OX_API oxExportImageFunction oxGetExportImageFunction(void) { return loadSetting(export_image_func); }

OX_API bool oxExportImageFunctionIsSetted(void) { return loadSetting(export_image_func_setted); }

OX_API void oxSetImportImageFunction(oxImportImageFunction f) {
    storeSetting(import_image_func, f);
    storeSetting(import_image_func_setted, true);
}

OX_API oxImportImageFunction oxGetImportImageFunction(void) { return loadSetting(import_image_func); }

OX_API bool oxImportImageFunctionIsSetted(void) { return loadSetting(import_image_func_setted); }

OX_API int32_t oxShowImageFuncDefault(const oxImage*, const char*) { return 0; }

OX_API int32_t oxExportImageFuncDefault(const oxImage*, const char*) { return 0; }

OX_API oxImage* oxImportImageFuncDefault(const char*) { return nullptr; }

}  // extern "C"
