/* Process-wide settings the host sets once at start-up: the number of
 * processor cores granted to the library, an optional explicit limit of the
 * thread count, and three replaceable image hooks (check/show, export,
 * import). The library only stores and returns the hooks; it never calls
 * them. The globals are plain, unsynchronised variables. */
#ifndef OX_SYSTEM_H
#define OX_SYSTEM_H

#include <stdbool.h>

#include "ox_image.h"

OX_BEGIN_DECLS

/* Shows or checks `image` under the label `name`; 0 when it went well. */
typedef int32_t (*oxCheckImageFunction)(const oxImage* image, const char* name);
/* Exports `image` under `name` (a file name, for example); 0 on success. */
typedef int32_t (*oxExportImageFunction)(const oxImage* image, const char* name);
/* Imports the image known as `name`; a new image the caller releases with
 * oxImageRelease, or null. */
typedef oxImage* (*oxImportImageFunction)(const char* name);

OX_API extern int32_t number_of_cores;  /* cores granted to the library; 1 at start */
OX_API extern int32_t limit_constraint; /* >= 1: thread count limited to number_of_cores; 0 at start */
OX_API extern oxCheckImageFunction check_image_func;   /* oxShowImageFuncDefault at start */
OX_API extern oxExportImageFunction export_image_func; /* oxExportImageFuncDefault at start */
OX_API extern oxImportImageFunction import_image_func; /* oxImportImageFuncDefault at start */
OX_API extern bool check_image_func_setted;  /* a check hook was installed; false at start */
OX_API extern bool export_image_func_setted; /* an export hook was installed; false at start */
OX_API extern bool import_image_func_setted; /* an import hook was installed; false at start */

/* number_of_cores. */
OX_API int32_t oxSystemInfoGetNumberOfCores(void);
/* Stores `n` in number_of_cores as given (no range test). */
OX_API void oxSystemInfoSetNumberOfCores(int32_t n);
/* Stores `flag` in limit_constraint. */
OX_API void oxSystemInfoEnableNumberOfCoresExplicitConstraint(int32_t flag);
/* limit_constraint. */
OX_API int32_t oxSystemInfoNumberOfCoresExplicitConstraintIsEnabled(void);
/* number_of_cores when limit_constraint >= 1, otherwise 2147483647 (no
 * limit; a negative limit_constraint counts as disabled). */
OX_API int32_t oxSystemInfoGetMaxNumberOfThreads(void);

/* Installing a hook sets its flag for good: no function clears it, not
 * even installing the default again. Only the check query also tests the
 * pointer, so a null check hook reads back as not installed while a null
 * export or import hook reads back as installed; this asymmetry is
 * deliberate. */
OX_API void oxSetCheckImageFunction(oxCheckImageFunction f);
OX_API oxCheckImageFunction oxGetCheckImageFunction(void);
/* true when check_image_func is non-null and check_image_func_setted. */
OX_API bool oxCheckImageFunctionIsSetted(void);

OX_API void oxSetExportImageFunction(oxExportImageFunction f);
OX_API oxExportImageFunction oxGetExportImageFunction(void);
/* export_image_func_setted. */
OX_API bool oxExportImageFunctionIsSetted(void);

OX_API void oxSetImportImageFunction(oxImportImageFunction f);
OX_API oxImportImageFunction oxGetImportImageFunction(void);
/* import_image_func_setted. */
OX_API bool oxImportImageFunctionIsSetted(void);

/* The default hooks ignore their arguments: 0, 0 and null. */
OX_API int32_t oxShowImageFuncDefault(const oxImage* image, const char* name);
OX_API int32_t oxExportImageFuncDefault(const oxImage* image, const char* name);
OX_API oxImage* oxImportImageFuncDefault(const char* name);

OX_END_DECLS

#endif /* OX_SYSTEM_H */
