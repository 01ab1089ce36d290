// Process-wide settings and the host's image hooks: stored and returned,
// never called by the library.
#include <climits>

#include "ox_system.h"

extern "C" {

OX_API int32_t number_of_cores = 1;
OX_API int32_t limit_constraint = 0;
OX_API oxCheckImageFunction check_image_func = oxShowImageFuncDefault;
OX_API oxExportImageFunction export_image_func = oxExportImageFuncDefault;
OX_API oxImportImageFunction import_image_func = oxImportImageFuncDefault;
OX_API bool check_image_func_setted = false;
OX_API bool export_image_func_setted = false;
OX_API bool import_image_func_setted = false;

OX_API int32_t oxSystemInfoGetNumberOfCores(void) { return number_of_cores; }

OX_API void oxSystemInfoSetNumberOfCores(int32_t n) { number_of_cores = n; }

OX_API void oxSystemInfoEnableNumberOfCoresExplicitConstraint(int32_t flag) { limit_constraint = flag; }

OX_API int32_t oxSystemInfoNumberOfCoresExplicitConstraintIsEnabled(void) { return limit_constraint; }

OX_API int32_t oxSystemInfoGetMaxNumberOfThreads(void) { return limit_constraint < 1 ? INT32_MAX : number_of_cores; }

OX_API void oxSetCheckImageFunction(oxCheckImageFunction f) {
    check_image_func = f;
    check_image_func_setted = true;
}

OX_API oxCheckImageFunction oxGetCheckImageFunction(void) { return check_image_func; }

// Only this query looks at the pointer too; the other two do not, on purpose.
OX_API bool oxCheckImageFunctionIsSetted(void) { return check_image_func != nullptr && check_image_func_setted; }

OX_API void oxSetExportImageFunction(oxExportImageFunction f) {
    export_image_func = f;
    export_image_func_setted = true;
}

OX_API oxExportImageFunction oxGetExportImageFunction(void) { return export_image_func; }

OX_API bool oxExportImageFunctionIsSetted(void) { return export_image_func_setted; }

OX_API void oxSetImportImageFunction(oxImportImageFunction f) {
    import_image_func = f;
    import_image_func_setted = true;
}

OX_API oxImportImageFunction oxGetImportImageFunction(void) { return import_image_func; }

OX_API bool oxImportImageFunctionIsSetted(void) { return import_image_func_setted; }

OX_API int32_t oxShowImageFuncDefault(const oxImage*, const char*) { return 0; }

OX_API int32_t oxExportImageFuncDefault(const oxImage*, const char*) { return 0; }

OX_API oxImage* oxImportImageFuncDefault(const char*) { return nullptr; }

}  // extern "C"
