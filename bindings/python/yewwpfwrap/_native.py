# Written by bindings/generate.py from include/*.h; do not edit.
# Regenerate with: python3 bindings/generate.py
"""ctypes declarations of every record, callback type, global, constant and
function of the library, exactly as its headers declare them."""
from ctypes import (CFUNCTYPE, POINTER, Structure, c_bool, c_char, c_char_p, c_double, c_float,
                    c_int, c_int8, c_int16, c_int32, c_int64, c_uint8, c_uint16, c_uint32, c_uint64,
                    c_void_p)

# Integer constants of the headers (enums and #defines).
OX_OK = 0
OX_REFUSED = 1
OX_ABORTED = 2
OX_WRITE_FAILED = -1
OX_8U = 0
OX_32S = 10
OX_16U = 12
OX_32U = 15
OX_32F = 20
OX_64F = 30
OX_GRAY = 0
OX_BGR = 1
OX_RGB = 2
OX_ARGB = 3
OX_RGBA = 4
OX_LOGGER_TEXT_SIZE = 1000
OX_LOG_CONSOLE = 0
OX_LOG_FILE = 1
OX_LOG_CONSOLE_AND_FILE = 2
OX_FILE_NAME_SIZE = 1024
OX_TRANSFORM_NEAREST = -1
OX_TRANSFORM_BILINEAR = 0
OX_RESIZE3D_TRILINEAR = 0
OX_RESIZE_NEAREST = -1
OX_RESIZE_BILINEAR = 0
OX_RESIZE_LANCZOS = 1
OX_PAD_EXPAND = 0
OX_PAD_REFLECT = 1
OX_BILATERAL_SPACE_SIZE = 21
OX_BILATERAL_MAX_RADIUS = 9

class oxRect(Structure):
    pass

class oxSize(Structure):
    pass

class oxPoint(Structure):
    pass

class oxPoint2D(Structure):
    pass

class oxImage(Structure):
    pass

class oxColorCorrectionStats(Structure):
    pass

class oxColorCorrectionAddParams(Structure):
    pass

class oxContrastEnhanceParams(Structure):
    pass

class oxContrastEnhanceStats(Structure):
    pass

class oxTransferEnhanceParams(Structure):
    pass

class oxTransferEnhanceStats(Structure):
    pass

class oxTransferEnhanceAddParams(Structure):
    pass

class oxFillLightParams(Structure):
    pass

class oxFrameDescriptor(Structure):
    pass

class oxDepthBasedImage(Structure):
    pass

class oxDepthBasedImageSequence(Structure):
    pass

class oxLogger(Structure):
    pass

class oxSimplifyParams(Structure):
    pass

class oxSaturateParams(Structure):
    pass

class oxFocusMaskParams(Structure):
    pass

class oxTiltShiftParams(Structure):
    pass

class oxBlurParams(Structure):
    pass

class oxHighBoostParams(Structure):
    pass

class oxSharpenParams(Structure):
    pass

class oxEnhanceParams(Structure):
    pass

class oxEnhanceParamsInner(Structure):
    pass

class oxBackTranslation(Structure):
    pass

class oxBackReflection(Structure):
    pass

class oxBackRotation(Structure):
    pass

class oxBackScaling(Structure):
    pass

class oxBox(Structure):
    pass

class oxSize3D(Structure):
    pass

class oxPoint3D(Structure):
    pass

class oxVolume(Structure):
    pass

class oxVolume32(Structure):
    pass

class oxFunction(Structure):
    pass

class oxLensDistortionParams(Structure):
    pass

class oxSepKernelPadCache(Structure):
    pass

class oxSepKernel(Structure):
    pass

class oxBilateralTables(Structure):
    pass

class oxBilateralTables3D(Structure):
    pass

class oxBilateralParams(Structure):
    pass


oxDepthBasedImageLoadFunc = CFUNCTYPE(c_int32, c_void_p, c_int32, POINTER(oxDepthBasedImage))
oxDepthBasedImageReleaseFunc = CFUNCTYPE(c_int32, c_void_p, c_int32, POINTER(oxDepthBasedImage))
oxDepthBasedImageStoreFunc = CFUNCTYPE(c_int32, c_void_p, c_int32, POINTER(oxDepthBasedImage))
oxLoggerCompareCallback = CFUNCTYPE(None, c_int32, c_char_p, c_char_p)
oxCheckImageFunction = CFUNCTYPE(c_int32, POINTER(oxImage), c_char_p)
oxExportImageFunction = CFUNCTYPE(c_int32, POINTER(oxImage), c_char_p)
oxImportImageFunction = CFUNCTYPE(POINTER(oxImage), c_char_p)
oxBackMapping = CFUNCTYPE(oxPoint2D, POINTER(oxPoint2D), c_void_p)

oxRect._fields_ = [
    ('x', c_int32),
    ('y', c_int32),
    ('width', c_int32),
    ('height', c_int32),
]
oxSize._fields_ = [
    ('width', c_int32),
    ('height', c_int32),
]
oxPoint._fields_ = [
    ('k', c_int32),
    ('x', c_int32),
    ('y', c_int32),
    ('z', c_int32),
]
oxPoint2D._fields_ = [
    ('x', c_double),
    ('y', c_double),
]
oxImage._fields_ = [
    ('type', c_int32),
    ('encoding', c_int32),
    ('height', c_int32),
    ('width', c_int32),
    ('data', POINTER(c_uint8)),
    ('roi', oxRect),
    ('coi', c_int32),
]
oxColorCorrectionStats._fields_ = [
    ('maxB', c_float),
    ('maxG', c_float),
    ('maxR', c_float),
]
oxColorCorrectionAddParams._fields_ = [
    ('scaleB', c_float),
    ('scaleG', c_float),
    ('scaleR', c_float),
    ('lutB', c_uint8 * 256),
    ('lutG', c_uint8 * 256),
    ('lutR', c_uint8 * 256),
]
oxContrastEnhanceParams._fields_ = [
    ('highClip', c_float),
    ('lowClip', c_float),
    ('manual', c_int32),
    ('whiteLevel', c_uint8),
    ('blackLevel', c_uint8),
]
oxContrastEnhanceStats._fields_ = [
    ('histogram', c_float * 256),
    ('pixelCount', c_float),
]
oxTransferEnhanceParams._fields_ = [
    ('steepness', c_float),
    ('strength', c_float),
    ('radius', c_int32),
]
oxTransferEnhanceStats._fields_ = [
    ('brightnessSum', c_float),
    ('pixelCount', c_float),
]
oxTransferEnhanceAddParams._fields_ = [
    ('radius', c_int32),
    ('gainTable', c_uint8 * 65536),
]
oxFillLightParams._fields_ = [
    ('amount', c_double),
]
oxFrameDescriptor._fields_ = [
    ('encoding', c_int32),
    ('sequenceId', c_int32),
    ('height', c_int32),
    ('width', c_int32),
]
oxDepthBasedImage._fields_ = [
    ('descriptor', POINTER(oxFrameDescriptor)),
    ('reserved', c_void_p),
    ('data', POINTER(c_uint8)),
]
oxDepthBasedImageSequence._fields_ = [
    ('count', c_int32),
    ('current', c_int32),
    ('item', oxDepthBasedImage),
    ('load', oxDepthBasedImageLoadFunc),
    ('release', oxDepthBasedImageReleaseFunc),
    ('store', oxDepthBasedImageStoreFunc),
    ('userData', c_void_p),
]
oxLogger._fields_ = [
    ('code', c_char * 1000),
    ('levelCount', c_int32),
    ('level', c_int32),
    ('levelMessages', POINTER(c_char_p)),
    ('mode', c_int32),
    ('filePath', c_char_p),
    ('compareStream', c_void_p),
    ('compareCallback', oxLoggerCompareCallback),
]
oxSimplifyParams._fields_ = [
    ('maxSize', c_int32),
    ('iterations', c_int32),
    ('rangeFactor', c_float),
]
oxSaturateParams._fields_ = [
    ('factor', c_float),
]
oxFocusMaskParams._fields_ = [
    ('x0', c_float),
    ('y0', c_float),
    ('x1', c_float),
    ('y1', c_float),
]
oxTiltShiftParams._fields_ = [
    ('maxSize', c_int32),
    ('strength', c_float),
    ('ax', c_double),
    ('ay', c_double),
    ('bx', c_double),
    ('by', c_double),
]
oxBlurParams._fields_ = [
    ('radiusX', c_int32),
    ('radiusY', c_int32),
]
oxHighBoostParams._fields_ = [
    ('enabled', c_int32),
    ('blur', oxBlurParams),
    ('gain', c_float),
    ('maxRatio', c_float),
]
oxSharpenParams._fields_ = [
    ('amount', c_double),
]
oxEnhanceParams._fields_ = [
    ('colorCorrection', c_int32),
    ('reservedFlag', c_int32),
    ('contrastWeight', c_float),
    ('contrastHighClip', c_float),
    ('contrastLowClip', c_float),
    ('transferSteepness', c_float),
    ('transferStrength', c_float),
    ('transferRadius', c_int32),
    ('fillLight', c_int32),
    ('fillLightAmount', c_float),
    ('sharpen', c_int32),
    ('sharpenAmount', c_float),
]
oxEnhanceParamsInner._fields_ = [
    ('colorCorrection', c_int32),
    ('reservedFlag', c_int32),
    ('contrastWeight', c_float),
    ('contrast', POINTER(oxContrastEnhanceParams)),
    ('transfer', POINTER(oxTransferEnhanceParams)),
    ('fillLight', c_int32),
    ('fillLightParams', POINTER(oxFillLightParams)),
    ('sharpen', c_int32),
    ('sharpenParams', POINTER(oxSharpenParams)),
]
oxBackTranslation._fields_ = [
    ('dx', c_double),
    ('dy', c_double),
]
oxBackReflection._fields_ = [
    ('axis', c_int32),
    ('position', c_double),
]
oxBackRotation._fields_ = [
    ('cx', c_double),
    ('cy', c_double),
    ('cosine', c_double),
    ('sine', c_double),
]
oxBackScaling._fields_ = [
    ('cx', c_double),
    ('cy', c_double),
    ('factor', c_double),
]
oxBox._fields_ = [
    ('x', c_int32),
    ('y', c_int32),
    ('z', c_int32),
    ('width', c_int32),
    ('height', c_int32),
    ('depth', c_int32),
]
oxSize3D._fields_ = [
    ('width', c_int32),
    ('height', c_int32),
    ('depth', c_int32),
]
oxPoint3D._fields_ = [
    ('x', c_double),
    ('y', c_double),
    ('z', c_double),
]
oxVolume._fields_ = [
    ('type', c_int32),
    ('depth', c_int32),
    ('width', c_int32),
    ('height', c_int32),
    ('data', POINTER(c_uint8)),
    ('planes', POINTER(POINTER(oxImage))),
    ('roi', oxBox),
]
oxVolume32._fields_ = [
    ('type', c_int32),
    ('depth', c_int32),
    ('width', c_int32),
    ('height', c_int32),
    ('data', c_uint32),
    ('planes', c_uint32),
    ('roi', oxBox),
]
oxFunction._fields_ = [
    ('count', c_int32),
    ('values', POINTER(c_double)),
]
oxLensDistortionParams._fields_ = [
    ('amount', c_float),
    ('cx', c_float),
    ('cy', c_float),
    ('crop', c_int32),
]
oxSepKernelPadCache._fields_ = [
    ('lengthX', c_int32),
    ('lengthY', c_int32),
    ('lengthZ', c_int32),
    ('tableX', POINTER(c_int32)),
    ('tableY', POINTER(c_int32)),
    ('tableZ', POINTER(c_int32)),
    ('centreX', POINTER(c_int32)),
    ('centreY', POINTER(c_int32)),
    ('centreZ', POINTER(c_int32)),
]
oxSepKernel._fields_ = [
    ('kernelX', POINTER(c_float)),
    ('kernelY', POINTER(c_float)),
    ('kernelZ', POINTER(c_float)),
    ('radiusX', c_int32),
    ('radiusY', c_int32),
    ('radiusZ', c_int32),
    ('normalize', c_int32),
    ('border', c_int32),
    ('isNormalized', c_int32),
    ('padCache', POINTER(oxSepKernelPadCache)),
]
oxBilateralTables._fields_ = [
    ('cachedSpaceSigma', c_float),
    ('spaceWeights', (c_float * 21) * 21),
    ('spaceRows', POINTER(c_float) * 21),
    ('spaceCenter', POINTER(POINTER(c_float))),
    ('cachedRangeSigma', c_float),
    ('rangeWeights', ((c_float * 256) * 256) * 256),
]
oxBilateralTables3D._fields_ = [
    ('cachedSpaceSigma', c_float),
    ('spaceWeights', ((c_float * 21) * 21) * 21),
    ('spaceRows', (POINTER(c_float) * 21) * 21),
    ('spacePlanes', POINTER(POINTER(c_float)) * 21),
    ('spaceCenter', POINTER(POINTER(POINTER(c_float)))),
    ('cachedRangeSigma', c_float),
    ('rangeWeights', c_float * 256),
]
oxBilateralParams._fields_ = [
    ('spaceSigma', c_double),
    ('rangeSigma', c_double),
    ('radius', c_int32),
    ('tables2D', POINTER(oxBilateralTables)),
    ('tables3D', POINTER(oxBilateralTables3D)),
    ('valueScale', c_double),
]

# name: ctypes type of each exported global.
GLOBALS = {
    'ox_toGray_tab': c_int32 * 768,
    'registered_loggers': POINTER(POINTER(oxLogger)),
    'registered_logger_size': c_int32,
    'number_of_cores': c_int32,
    'limit_constraint': c_int32,
    'check_image_func': oxCheckImageFunction,
    'export_image_func': oxExportImageFunction,
    'import_image_func': oxImportImageFunction,
    'check_image_func_setted': c_bool,
    'export_image_func_setted': c_bool,
    'import_image_func_setted': c_bool,
}

# name: (restype, argtypes, variadic) of each exported function.
FUNCTIONS = {
    'oxGetNChannelFromEncoding': (c_int32, [c_int32], False),
    'oxGetChannelOffsetFromEncoding': (c_int32, [c_int32, c_int32], False),
    'oxImageCreateHeaderWithType': (POINTER(oxImage), [c_int32, c_int32, c_int32, c_int32], False),
    'oxImageCreateHeader': (POINTER(oxImage), [c_int32, c_int32, c_int32], False),
    'oxImageCreateWithType': (POINTER(oxImage), [c_int32, c_int32, c_int32, c_int32], False),
    'oxImageCreate': (POINTER(oxImage), [c_int32, c_int32, c_int32], False),
    'oxImageCreateAs': (POINTER(oxImage), [POINTER(oxImage)], False),
    'oxImageReleaseHeader': (None, [POINTER(POINTER(oxImage))], False),
    'oxImageRelease': (None, [POINTER(POINTER(oxImage))], False),
    'oxImageHaveUncompatibleEncodings': (c_int32, [POINTER(oxImage), POINTER(oxImage)], False),
    'oxImageGetNChannel': (c_int32, [POINTER(oxImage)], False),
    'oxImageGetEncoding': (c_int32, [POINTER(oxImage)], False),
    'oxImageGetChannelOffset': (c_int32, [POINTER(oxImage), c_int32], False),
    'oxImageSetROI': (None, [POINTER(oxImage), POINTER(oxRect)], False),
    'oxImageResetROI': (None, [POINTER(oxImage)], False),
    'oxImageSetCOI': (None, [POINTER(oxImage), c_int32], False),
    'oxImageResetCOI': (None, [POINTER(oxImage)], False),
    'oxImageExtractDerivedMembers': (None, [POINTER(oxImage), POINTER(c_int32)], False),
    'oxImageSize': (oxSize, [POINTER(oxImage)], False),
    'oxImageExtractChannel': (c_int32, [POINTER(oxImage), POINTER(oxImage), c_int32], False),
    'oxImageInsertChannel': (c_int32, [POINTER(oxImage), POINTER(oxImage), c_int32], False),
    'oxImageCvtColor': (c_int32, [POINTER(oxImage), POINTER(oxImage)], False),
    'oxCopy': (c_int32, [POINTER(oxImage), POINTER(oxImage)], False),
    'oxAddWeigthedS': (c_int32, [POINTER(oxImage), POINTER(oxImage), POINTER(oxImage), c_uint8], False),
    'oxAddWeigthedM': (c_int32, [POINTER(oxImage), POINTER(oxImage), POINTER(oxImage), POINTER(oxImage)], False),
    'oxSubstitute': (c_int32, [POINTER(oxImage), POINTER(oxImage), POINTER(oxImage)], False),
    'oxTranspose': (c_int32, [POINTER(oxImage), POINTER(oxImage)], False),
    'oxColorCorrectionStatsCreate': (POINTER(oxColorCorrectionStats), [], False),
    'oxColorCorrectionStatsRelease': (None, [POINTER(POINTER(oxColorCorrectionStats))], False),
    'oxColorCorrectionStatsInit': (None, [POINTER(oxColorCorrectionStats)], False),
    'oxColorCorrectionStatsRetrieve': (c_int32, [POINTER(oxColorCorrectionStats), POINTER(oxImage), POINTER(c_int32)], False),
    'oxColorCorrectionStatsUpdate': (None, [POINTER(oxColorCorrectionStats), POINTER(oxColorCorrectionStats)], False),
    'oxColorCorrectionAddParamsCompute': (None, [POINTER(oxColorCorrectionStats), POINTER(oxColorCorrectionAddParams)], False),
    'oxColorCorrectionApply': (c_int32, [POINTER(oxColorCorrectionAddParams), POINTER(oxImage), POINTER(oxImage)], False),
    'oxColorCorrectionFilter': (c_int32, [POINTER(oxImage), POINTER(oxImage), POINTER(oxImage), POINTER(c_int32)], False),
    'oxContrastEnhanceParamsDefault': (POINTER(oxContrastEnhanceParams), [], False),
    'oxContrastEnhanceParamsRelease': (None, [POINTER(POINTER(oxContrastEnhanceParams))], False),
    'oxContrastEnhanceStatsCreate': (POINTER(oxContrastEnhanceStats), [], False),
    'oxContrastEnhanceStatsRelease': (None, [POINTER(POINTER(oxContrastEnhanceStats))], False),
    'oxContrastEnhanceStatsInit': (None, [POINTER(oxContrastEnhanceStats), POINTER(oxImage)], False),
    'oxContrastEnhanceStatsRetrieve': (c_int32, [POINTER(oxContrastEnhanceStats), POINTER(oxImage), POINTER(c_int32)], False),
    'oxContrastEnhanceStatsUpdate': (None, [POINTER(oxContrastEnhanceStats), POINTER(oxContrastEnhanceStats)], False),
    'oxContrastEnhanceAddParamsCompute': (None, [POINTER(oxContrastEnhanceStats), POINTER(oxContrastEnhanceParams), POINTER(c_uint8)], False),
    'oxContrastEnhanceApply': (c_int32, [POINTER(c_uint8), POINTER(oxImage), POINTER(oxImage), POINTER(c_int32)], False),
    'oxContrastEnhanceFilter': (c_int32, [POINTER(oxContrastEnhanceParams), POINTER(oxImage), POINTER(oxImage), POINTER(oxImage), POINTER(c_int32)], False),
    'oxTransferEnhanceParamsDefault': (POINTER(oxTransferEnhanceParams), [], False),
    'oxTransferEnhanceParamsRelease': (None, [POINTER(POINTER(oxTransferEnhanceParams))], False),
    'oxTransferEnhanceStatsCreate': (POINTER(oxTransferEnhanceStats), [], False),
    'oxTransferEnhanceStatsRelease': (None, [POINTER(POINTER(oxTransferEnhanceStats))], False),
    'oxTransferEnhanceStatsInit': (None, [POINTER(oxTransferEnhanceStats), POINTER(oxImage)], False),
    'oxTransferEnhanceStatsRetrieve': (c_int32, [POINTER(oxTransferEnhanceStats), POINTER(oxImage), POINTER(c_int32)], False),
    'oxTransferEnhanceStatsUpdate': (None, [POINTER(oxTransferEnhanceStats), POINTER(oxTransferEnhanceStats)], False),
    'oxTransferEnhanceAddParamsCompute': (None, [POINTER(oxTransferEnhanceStats), POINTER(oxTransferEnhanceParams), POINTER(oxTransferEnhanceAddParams)], False),
    'oxTransferEnhanceApply': (c_int32, [POINTER(oxTransferEnhanceAddParams), POINTER(oxImage), POINTER(oxImage), POINTER(c_int32)], False),
    'oxTransferEnhanceFilter': (c_int32, [POINTER(oxTransferEnhanceParams), POINTER(oxImage), POINTER(oxImage), POINTER(oxImage), POINTER(c_int32)], False),
    'oxFillLightParamsDefault': (POINTER(oxFillLightParams), [], False),
    'oxFillLightParamsRelease': (None, [POINTER(POINTER(oxFillLightParams))], False),
    'oxFillLight': (c_int32, [POINTER(oxFillLightParams), POINTER(oxImage), POINTER(oxImage), POINTER(oxImage), POINTER(c_int32)], False),
    'oxDepthBasedImageCreateHeader': (POINTER(oxDepthBasedImage), [POINTER(oxFrameDescriptor)], False),
    'oxDepthBasedImageReleaseHeader': (None, [POINTER(POINTER(oxDepthBasedImage))], False),
    'oxDepthBasedImageRelease': (None, [POINTER(POINTER(oxDepthBasedImage))], False),
    'oxDepthBasedImageGetEncoding': (c_int32, [POINTER(oxDepthBasedImage)], False),
    'oxDepthBasedImageGetSequenceId': (c_int32, [POINTER(oxDepthBasedImage)], False),
    'oxDepthBasedImageGetWidth': (c_int32, [POINTER(oxDepthBasedImage)], False),
    'oxDepthBasedImageGetHeight': (c_int32, [POINTER(oxDepthBasedImage)], False),
    'oxDepthBasedImageSetImageWrap': (None, [POINTER(oxDepthBasedImage), POINTER(oxImage)], False),
    'oxDepthBasedImageSequenceInit': (c_int32, [POINTER(oxDepthBasedImageSequence), c_int32, oxDepthBasedImageLoadFunc, oxDepthBasedImageReleaseFunc, oxDepthBasedImageStoreFunc, c_void_p], False),
    'oxDepthBasedImageSequenceLoadItem': (c_int32, [POINTER(oxDepthBasedImageSequence), c_int32], False),
    'oxDepthBasedImageSequenceStoreItem': (c_int32, [POINTER(oxDepthBasedImageSequence)], False),
    'oxDepthBasedImageSequenceReleaseItem': (c_int32, [POINTER(oxDepthBasedImageSequence)], False),
    'oxDepthBasedImageSequenceWrapItem': (c_int32, [POINTER(oxDepthBasedImageSequence), POINTER(oxImage)], False),
    'oxLoggerCreate': (POINTER(oxLogger), [c_char_p, c_int32], False),
    'oxLoggerRelease': (None, [POINTER(POINTER(oxLogger))], False),
    'oxLoggerFindByCode': (POINTER(oxLogger), [c_char_p], False),
    'oxLoggerGetLogLevels': (c_int32, [POINTER(oxLogger)], False),
    'oxLoggerSetLevelMessage': (None, [POINTER(oxLogger), c_int32, c_char_p], False),
    'oxLoggerSetLevel': (None, [POINTER(oxLogger), c_int32], False),
    'oxLoggerSetMode': (None, [POINTER(oxLogger), c_int32, c_char_p, c_int32, c_char_p, oxLoggerCompareCallback], False),
    'oxLoggerPrint': (None, [POINTER(oxLogger), c_int32, c_char_p], True),
    'oxSystemInfoGetNumberOfCores': (c_int32, [], False),
    'oxSystemInfoSetNumberOfCores': (None, [c_int32], False),
    'oxSystemInfoEnableNumberOfCoresExplicitConstraint': (None, [c_int32], False),
    'oxSystemInfoNumberOfCoresExplicitConstraintIsEnabled': (c_int32, [], False),
    'oxSystemInfoGetMaxNumberOfThreads': (c_int32, [], False),
    'oxSetCheckImageFunction': (None, [oxCheckImageFunction], False),
    'oxGetCheckImageFunction': (oxCheckImageFunction, [], False),
    'oxCheckImageFunctionIsSetted': (c_bool, [], False),
    'oxSetExportImageFunction': (None, [oxExportImageFunction], False),
    'oxGetExportImageFunction': (oxExportImageFunction, [], False),
    'oxExportImageFunctionIsSetted': (c_bool, [], False),
    'oxSetImportImageFunction': (None, [oxImportImageFunction], False),
    'oxGetImportImageFunction': (oxImportImageFunction, [], False),
    'oxImportImageFunctionIsSetted': (c_bool, [], False),
    'oxShowImageFuncDefault': (c_int32, [POINTER(oxImage), c_char_p], False),
    'oxExportImageFuncDefault': (c_int32, [POINTER(oxImage), c_char_p], False),
    'oxImportImageFuncDefault': (POINTER(oxImage), [c_char_p], False),
    'oxCheckFolderExistence': (c_int32, [c_char_p], False),
    'oxCheckFileExistence': (c_int32, [c_char_p], False),
    'oxGetFilesNumber': (c_int32, [c_char_p], False),
    'oxGetFilesNumberWithExtension': (c_int32, [c_char_p, c_char_p], False),
    'oxGetFileNames': (c_int32, [c_char_p, POINTER(c_char_p)], False),
    'oxGetFileNamesWithExtension': (c_int32, [c_char_p, c_char_p, POINTER(c_char_p)], False),
    'oxGetDirsNumber': (c_int32, [], False),
    'oxGetDirNames': (c_int32, [], False),
    'oxImageGetVal': (c_double, [POINTER(oxImage), POINTER(oxPoint)], False),
    'oxImageGetInterpolatedVal': (c_double, [POINTER(oxImage), POINTER(oxPoint2D)], False),
    'oxImageGetMinMaxValues': (c_int32, [POINTER(oxImage), POINTER(c_double), POINTER(c_double)], False),
    'oxImageGetNonZeroROI': (c_int32, [POINTER(oxImage), POINTER(oxRect), POINTER(c_int32)], False),
    'oxImageSetZero': (None, [POINTER(oxImage)], False),
    'oxImageSetVal': (None, [POINTER(oxImage), c_double], False),
    'oxImageInvert': (c_int32, [POINTER(oxImage), POINTER(oxImage)], False),
    'oxImageThreshold': (c_int32, [POINTER(oxImage), POINTER(oxImage), c_double, c_double], False),
    'oxSimplifyParamsDefault': (POINTER(oxSimplifyParams), [], False),
    'oxSimplifyParamsRelease': (None, [POINTER(POINTER(oxSimplifyParams))], False),
    'oxSaturateParamsDefault': (POINTER(oxSaturateParams), [], False),
    'oxSaturateParamsRelease': (None, [POINTER(POINTER(oxSaturateParams))], False),
    'oxSimplify': (c_int32, [POINTER(oxImage), POINTER(oxImage), POINTER(oxSimplifyParams), POINTER(c_int32)], False),
    'oxSaturateFilter': (c_int32, [POINTER(oxSaturateParams), POINTER(oxImage), POINTER(oxImage), POINTER(c_int32)], False),
    'oxYewSimplify': (c_int32, [c_int32, c_int32, POINTER(c_uint8), POINTER(c_uint8), c_int32, c_float, c_float], False),
    'oxFocusMaskParamsDefault': (POINTER(oxFocusMaskParams), [], False),
    'oxTiltShiftParamsDefault': (POINTER(oxTiltShiftParams), [], False),
    'oxFocusMaskParamsRelease': (None, [POINTER(POINTER(oxFocusMaskParams))], False),
    'oxTiltShiftParamsRelease': (None, [POINTER(POINTER(oxTiltShiftParams))], False),
    'oxFocusMaskFill': (c_int32, [POINTER(oxFocusMaskParams), POINTER(oxImage)], False),
    'oxTiltShiftFilter': (c_int32, [POINTER(oxTiltShiftParams), POINTER(oxImage), POINTER(oxImage)], False),
    'oxYewTiltShift': (c_int32, [c_int32, c_int32, POINTER(c_uint8), POINTER(c_uint8), c_float, c_float, c_float, c_float, c_float, c_float], False),
    'oxBlurParamsDefault': (POINTER(oxBlurParams), [], False),
    'oxBlurParamsRelease': (None, [POINTER(POINTER(oxBlurParams))], False),
    'oxBlurGetTempBufferSize': (c_uint64, [POINTER(oxImage)], False),
    'oxBlurFilter': (c_int32, [POINTER(oxBlurParams), POINTER(oxImage), POINTER(oxImage), POINTER(c_int32)], False),
    'oxBlurFilterOpt': (c_int32, [POINTER(oxBlurParams), POINTER(oxImage), POINTER(oxImage), POINTER(c_int32), c_void_p], False),
    'oxBlurFilter1C': (c_int32, [POINTER(oxBlurParams), POINTER(oxImage), POINTER(oxImage), POINTER(c_int32)], False),
    'oxHighBoostParamsDefault': (POINTER(oxHighBoostParams), [], False),
    'oxHighBoostParamsRelease': (None, [POINTER(POINTER(oxHighBoostParams))], False),
    'oxHighBoostFilter': (c_int32, [POINTER(oxHighBoostParams), POINTER(oxImage), POINTER(oxImage), POINTER(c_int32)], False),
    'oxSharpenParamsDefault': (POINTER(oxSharpenParams), [], False),
    'oxSharpenParamsRelease': (None, [POINTER(POINTER(oxSharpenParams))], False),
    'oxSharpenFilter': (c_int32, [POINTER(oxSharpenParams), POINTER(oxImage), POINTER(oxImage), POINTER(oxImage), POINTER(c_int32)], False),
    'oxEnhanceParamsDefault': (POINTER(oxEnhanceParams), [], False),
    'oxEnhanceParamsRelease': (None, [POINTER(POINTER(oxEnhanceParams))], False),
    'oxEnhanceParamsInnerCreate': (POINTER(oxEnhanceParamsInner), [], False),
    'oxEnhanceParamsInnerRelease': (None, [POINTER(POINTER(oxEnhanceParamsInner))], False),
    'oxEnhanceSetInnerParams': (None, [POINTER(oxEnhanceParams), POINTER(oxEnhanceParamsInner)], False),
    'oxEnhanceFilter': (c_int32, [POINTER(oxEnhanceParams), POINTER(oxImage), POINTER(oxImage), POINTER(oxImage), POINTER(c_int32)], False),
    'oxYewEnhance': (c_int32, [c_int32, c_int32, POINTER(c_uint8), POINTER(c_uint8), c_float], False),
    'backTranslation': (oxPoint2D, [POINTER(oxPoint2D), c_void_p], False),
    'backReflection': (oxPoint2D, [POINTER(oxPoint2D), c_void_p], False),
    'backRotation': (oxPoint2D, [POINTER(oxPoint2D), c_void_p], False),
    'backScaling': (oxPoint2D, [POINTER(oxPoint2D), c_void_p], False),
    'oxImageTransform': (c_int32, [POINTER(oxImage), POINTER(oxImage), oxBackMapping, c_void_p, c_int32], False),
    'oxImageCvtType': (c_int32, [POINTER(oxImage), POINTER(oxImage)], False),
    'oxImageCvtTypeGivenRange': (c_int32, [POINTER(oxImage), POINTER(oxImage), c_double, c_double], False),
    'oxVolumeCreateHeaderWithTypeAndEncoding': (POINTER(oxVolume), [c_int32, c_int32, c_int32, c_int32, c_int32], False),
    'oxVolumeCreateHeader': (POINTER(oxVolume), [c_int32, c_int32, c_int32], False),
    'oxVolumeCreateHeaderWithType': (POINTER(oxVolume), [c_int32, c_int32, c_int32, c_int32], False),
    'oxVolumeCreateHeaderWithEncoding': (POINTER(oxVolume), [c_int32, c_int32, c_int32, c_int32], False),
    'oxVolumeCreateWithType': (POINTER(oxVolume), [c_int32, c_int32, c_int32, c_int32], False),
    'oxVolumeCreate': (POINTER(oxVolume), [c_int32, c_int32, c_int32], False),
    'oxVolumeCreateWithEncoding': (POINTER(oxVolume), [c_int32, c_int32, c_int32, c_int32], False),
    'oxVolumeCreateAs': (POINTER(oxVolume), [POINTER(oxVolume)], False),
    'oxVolumeCreateWithTypeWithSeparatePlanes': (POINTER(oxVolume), [c_int32, c_int32, c_int32, c_int32], False),
    'oxVolumeCreateWithSeparatePlanes': (POINTER(oxVolume), [c_int32, c_int32, c_int32], False),
    'oxVolumeAssignData': (c_int32, [POINTER(oxVolume), POINTER(c_uint8)], False),
    'oxVolumeReleaseHeader': (None, [POINTER(POINTER(oxVolume))], False),
    'oxVolumeRelease': (None, [POINTER(POINTER(oxVolume))], False),
    'oxVolumeReleaseWithSeparatePlanes': (None, [POINTER(POINTER(oxVolume))], False),
    'oxVolumeCvtTo32': (POINTER(oxVolume), [POINTER(oxVolume), POINTER(oxVolume32)], False),
    'oxVolumeCvtFrom32': (POINTER(oxVolume32), [POINTER(oxVolume32), POINTER(oxVolume)], False),
    'oxVolumeDumpSave': (c_int32, [POINTER(oxVolume), c_void_p], False),
    'oxVolumeDumpSaveWithSeparatePlanes': (c_int32, [POINTER(oxVolume), c_void_p], False),
    'oxVolumeDumpLoad': (POINTER(oxVolume), [c_void_p], False),
    'oxVolumeDumpLoadWithSeparatePlanes': (POINTER(oxVolume), [c_void_p], False),
    'oxVolumeSize': (oxSize3D, [POINTER(oxVolume)], False),
    'oxVolumeSetROI': (POINTER(oxVolume), [POINTER(oxVolume), POINTER(oxBox)], False),
    'oxVolumeResetROI': (POINTER(oxVolume), [POINTER(oxVolume)], False),
    'oxVolumeGetNonZeroROI': (c_int32, [POINTER(oxVolume), POINTER(oxBox), POINTER(c_int32)], False),
    'oxVolumeCvtType': (c_int32, [POINTER(oxVolume), POINTER(oxVolume)], False),
    'oxVolumeCvtTypeGivenRange': (c_int32, [POINTER(oxVolume), POINTER(oxVolume), c_double, c_double], False),
    'oxVolumeGetVal': (c_double, [POINTER(oxVolume), POINTER(oxPoint)], False),
    'oxVolumeGetInterpolatedVal': (c_double, [POINTER(oxVolume), POINTER(oxPoint3D)], False),
    'oxVolumeGetInterpolatedValPerPlane': (c_double, [POINTER(oxVolume), POINTER(oxPoint3D)], False),
    'oxVolumeGetMinMaxValues': (c_int32, [POINTER(oxVolume), POINTER(c_double), POINTER(c_double)], False),
    'oxVolumeGetSlice': (c_int32, [POINTER(oxVolume), c_int32, c_int32, POINTER(oxImage)], False),
    'oxVolumeSetZero': (None, [POINTER(oxVolume)], False),
    'oxVolumeSetVal': (None, [POINTER(oxVolume), c_double], False),
    'oxVolumeInvert': (c_int32, [POINTER(oxVolume), POINTER(oxVolume)], False),
    'oxResize3D': (c_int32, [POINTER(oxVolume), POINTER(oxVolume), c_int32], False),
    'oxCopy3D': (c_int32, [POINTER(oxVolume), POINTER(oxVolume)], False),
    'oxFunctionCreateHeader': (POINTER(oxFunction), [c_int32], False),
    'oxFunctionCreate': (POINTER(oxFunction), [c_int32], False),
    'oxFunctionReleaseHeader': (None, [POINTER(POINTER(oxFunction))], False),
    'oxFunctionRelease': (None, [POINTER(POINTER(oxFunction))], False),
    'oxFunctionSetZero': (None, [POINTER(oxFunction)], False),
    'oxFunctionIntegral': (POINTER(oxFunction), [POINTER(oxFunction), POINTER(oxFunction)], False),
    'oxFunctionNormalize': (POINTER(oxFunction), [POINTER(oxFunction), POINTER(oxFunction)], False),
    'oxFunctionMul': (POINTER(oxFunction), [POINTER(oxFunction), POINTER(oxFunction), c_double], False),
    'oxFunctionAdd': (POINTER(oxFunction), [POINTER(oxFunction), POINTER(oxFunction), POINTER(oxFunction)], False),
    'oxFunctionBlur': (POINTER(oxFunction), [POINTER(oxFunction), POINTER(oxFunction)], False),
    'oxFunctionCorrelation': (c_double, [POINTER(oxFunction), POINTER(oxFunction)], False),
    'oxFunctionGetInterpolatedVal': (c_double, [POINTER(oxFunction), c_double], False),
    'oxLanczosFunction': (c_double, [c_double, c_double], False),
    'oxLanczosResizeFunction': (None, [POINTER(oxFunction), POINTER(oxFunction)], False),
    'oxResizeFunction': (c_int32, [POINTER(oxFunction), POINTER(oxFunction), c_int32], False),
    'oxResizeGetTempBufferSize': (c_uint32, [POINTER(oxImage), POINTER(oxImage), c_int32], False),
    'oxResize': (c_int32, [POINTER(oxImage), POINTER(oxImage), c_int32, POINTER(c_int32)], False),
    'oxResizeOpt': (c_int32, [POINTER(oxImage), POINTER(oxImage), c_int32, POINTER(c_int32), c_void_p], False),
    'oxResize1C': (c_int32, [POINTER(oxImage), POINTER(oxImage), c_int32, c_void_p], False),
    'oxLensDistortionParamsDefault': (POINTER(oxLensDistortionParams), [], False),
    'oxLensDistortionParamsRelease': (None, [POINTER(POINTER(oxLensDistortionParams))], False),
    'oxLensDistortionFilter': (c_int32, [POINTER(oxLensDistortionParams), POINTER(oxImage), POINTER(oxImage), POINTER(c_int32)], False),
    'oxLensDistortionFilterSeq': (c_int32, [POINTER(oxLensDistortionParams), POINTER(oxDepthBasedImageSequence), POINTER(oxDepthBasedImageSequence), POINTER(c_int32)], False),
    'oxSepKernelCreate3D': (POINTER(oxSepKernel), [c_int32, c_int32, c_int32, c_int32, c_int32], False),
    'oxSepKernelCreate': (POINTER(oxSepKernel), [c_int32, c_int32, c_int32, c_int32], False),
    'oxSepKernelCopy': (POINTER(oxSepKernel), [POINTER(oxSepKernel)], False),
    'oxSepKernelRelease': (None, [POINTER(POINTER(oxSepKernel))], False),
    'oxSepKernelInnerCreate': (POINTER(oxSepKernelPadCache), [], False),
    'oxSepKernelInnerRelease': (None, [POINTER(POINTER(oxSepKernelPadCache))], False),
    'oxSepKernelPadExpandFunc': (c_int32, [c_int32, c_int32, c_int32], False),
    'oxSepKernelPadReflectFunc': (c_int32, [c_int32, c_int32, c_int32], False),
    'getSigmaFromSize': (c_double, [c_int32], False),
    'getSizeFromSigma': (c_int32, [c_double], False),
    'initArr': (None, [POINTER(c_float), c_int32, c_double], False),
    'oxSepKernelGaussian': (POINTER(oxSepKernel), [c_int32], False),
    'oxSepKernelGaussianFromSigma': (POINTER(oxSepKernel), [c_int32, c_double], False),
    'oxSepKernelGaussianGetApertureFromSigma': (c_int32, [c_double], False),
    'oxSepKernelGetNormalizedKernel': (POINTER(oxSepKernel), [POINTER(oxSepKernel)], False),
    'oxSepKernelCheckForImage': (c_int32, [POINTER(oxSepKernel), POINTER(oxImage)], False),
    'oxSepKernelCheckForVolume': (c_int32, [POINTER(oxSepKernel), POINTER(oxVolume)], False),
    'oxSepKernelPreComputePadding3D': (c_int32, [POINTER(oxSepKernel), POINTER(oxVolume)], False),
    'oxSeparableConvolutionGetTempBufferSize': (c_uint64, [POINTER(oxImage)], False),
    'oxSeparableConvolutionFilter': (c_int32, [POINTER(oxImage), POINTER(oxImage), POINTER(oxSepKernel)], False),
    'oxSeparableConvolutionFilterOpt': (c_int32, [POINTER(oxImage), POINTER(oxImage), POINTER(oxSepKernel), c_void_p], False),
    'oxApplySepKernelH': (c_int32, [POINTER(oxImage), POINTER(c_float), POINTER(oxSepKernel)], False),
    'oxApplySepKernelSymmH': (c_int32, [POINTER(oxImage), POINTER(c_float), POINTER(oxSepKernel)], False),
    'oxApplySepKernelV': (c_int32, [POINTER(c_float), POINTER(oxImage), POINTER(oxSepKernel)], False),
    'oxApplySepKernelSymmV': (c_int32, [POINTER(c_float), POINTER(c_float), POINTER(oxImage), POINTER(oxSepKernel)], False),
    'oxApplySepKernelH32F': (c_int32, [POINTER(oxImage), POINTER(c_float), POINTER(oxSepKernel)], False),
    'oxApplySepKernelSymmH32F': (c_int32, [POINTER(oxImage), POINTER(c_float), POINTER(oxSepKernel)], False),
    'oxApplySepKernelV32F': (c_int32, [POINTER(c_float), POINTER(oxImage), POINTER(oxSepKernel)], False),
    'oxApplySepKernelSymmV32F': (c_int32, [POINTER(c_float), POINTER(c_float), POINTER(oxImage), POINTER(oxSepKernel)], False),
    'oxApplySepKernelH64D': (c_int32, [POINTER(oxImage), POINTER(c_float), POINTER(oxSepKernel)], False),
    'oxApplySepKernelSymmH64D': (c_int32, [POINTER(oxImage), POINTER(c_float), POINTER(oxSepKernel)], False),
    'oxApplySepKernelV64D': (c_int32, [POINTER(c_float), POINTER(oxImage), POINTER(oxSepKernel)], False),
    'oxApplySepKernelSymmV64D': (c_int32, [POINTER(c_float), POINTER(c_float), POINTER(oxImage), POINTER(oxSepKernel)], False),
    'oxSeparableConvolutionGetTempBufferSize3D': (c_uint64, [POINTER(oxVolume)], False),
    'oxSeparableConvolutionFilter3D': (c_int32, [POINTER(oxVolume), POINTER(oxVolume), POINTER(oxSepKernel)], False),
    'oxSeparableConvolutionFilterOpt3D': (c_int32, [POINTER(oxVolume), POINTER(oxVolume), POINTER(oxSepKernel), c_void_p], False),
    'oxApplySepKernelD32F3D': (c_int32, [POINTER(c_float), POINTER(oxVolume), POINTER(oxSepKernel)], False),
    'oxApplySepKernelD64D3D': (c_int32, [POINTER(c_float), POINTER(oxVolume), POINTER(oxSepKernel)], False),
    'oxBilateralParamsDefault': (POINTER(oxBilateralParams), [], False),
    'oxBilateralParamsDefault3D': (POINTER(oxBilateralParams), [], False),
    'oxBilateralParamsInnerCreate': (POINTER(oxBilateralTables), [], False),
    'oxBilateralParams3DInnerCreate': (POINTER(oxBilateralTables3D), [], False),
    'oxBilateralParamsUpdateSpaceGaussian': (None, [POINTER(oxBilateralTables), c_float], False),
    'oxBilateralParams3DUpdateSpaceGaussian': (None, [POINTER(oxBilateralTables3D), c_float], False),
    'oxBilateralParamsRelease': (None, [POINTER(POINTER(oxBilateralParams))], False),
    'oxBilateralFilterGold1C': (c_int32, [POINTER(oxBilateralParams), POINTER(oxImage), POINTER(oxImage)], False),
    'oxBilateralFilterGold3C': (c_int32, [POINTER(oxBilateralParams), POINTER(oxImage), POINTER(oxImage)], False),
    'oxBilateralFilter64': (c_int32, [POINTER(oxBilateralParams), POINTER(oxImage), POINTER(oxImage)], False),
    'oxBilateralFilter': (c_int32, [POINTER(oxBilateralParams), POINTER(oxImage), POINTER(oxImage)], False),
    'oxBilateralFilter3D': (c_int32, [POINTER(oxBilateralParams), POINTER(oxVolume), POINTER(oxVolume)], False),
    'oxBilateralFilter3D64': (c_int32, [POINTER(oxBilateralParams), POINTER(oxVolume), POINTER(oxVolume)], False),
    'oxImageDumpSave': (c_int32, [POINTER(oxImage), c_void_p], False),
    'oxImageDumpLoad': (POINTER(oxImage), [c_void_p], False),
}

# name: class of each record.
RECORDS = {
    'oxRect': oxRect,
    'oxSize': oxSize,
    'oxPoint': oxPoint,
    'oxPoint2D': oxPoint2D,
    'oxImage': oxImage,
    'oxColorCorrectionStats': oxColorCorrectionStats,
    'oxColorCorrectionAddParams': oxColorCorrectionAddParams,
    'oxContrastEnhanceParams': oxContrastEnhanceParams,
    'oxContrastEnhanceStats': oxContrastEnhanceStats,
    'oxTransferEnhanceParams': oxTransferEnhanceParams,
    'oxTransferEnhanceStats': oxTransferEnhanceStats,
    'oxTransferEnhanceAddParams': oxTransferEnhanceAddParams,
    'oxFillLightParams': oxFillLightParams,
    'oxFrameDescriptor': oxFrameDescriptor,
    'oxDepthBasedImage': oxDepthBasedImage,
    'oxDepthBasedImageSequence': oxDepthBasedImageSequence,
    'oxLogger': oxLogger,
    'oxSimplifyParams': oxSimplifyParams,
    'oxSaturateParams': oxSaturateParams,
    'oxFocusMaskParams': oxFocusMaskParams,
    'oxTiltShiftParams': oxTiltShiftParams,
    'oxBlurParams': oxBlurParams,
    'oxHighBoostParams': oxHighBoostParams,
    'oxSharpenParams': oxSharpenParams,
    'oxEnhanceParams': oxEnhanceParams,
    'oxEnhanceParamsInner': oxEnhanceParamsInner,
    'oxBackTranslation': oxBackTranslation,
    'oxBackReflection': oxBackReflection,
    'oxBackRotation': oxBackRotation,
    'oxBackScaling': oxBackScaling,
    'oxBox': oxBox,
    'oxSize3D': oxSize3D,
    'oxPoint3D': oxPoint3D,
    'oxVolume': oxVolume,
    'oxVolume32': oxVolume32,
    'oxFunction': oxFunction,
    'oxLensDistortionParams': oxLensDistortionParams,
    'oxSepKernelPadCache': oxSepKernelPadCache,
    'oxSepKernel': oxSepKernel,
    'oxBilateralTables': oxBilateralTables,
    'oxBilateralTables3D': oxBilateralTables3D,
    'oxBilateralParams': oxBilateralParams,
}
