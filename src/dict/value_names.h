#pragma once

// The readable names of enumerated tag values (TIFF 6.0, its supplements and Exif 2.2). Constants.

#include "dict/ordered_map.h"

namespace ifdsweep::module {

extern const TextMap compressionNames;                // tag 259
extern const TextMap photometricInterpretationNames;  // tag 262
extern const TextMap planarConfigurationNames;        // tag 284
extern const TextMap resolutionUnitNames;             // tag 296
extern const TextMap predictorNames;                  // tag 317
extern const TextMap inkSetNames;                     // tag 332
extern const TextMap jpegProcNames;                   // tag 512
extern const TextMap yCbCrPositioningNames;           // tag 531
extern const TextMap exposureProgramNames;            // tag 34850
extern const TextMap meteringModeNames;               // tag 37383
extern const TextMap lightSourceNames;                // tag 37384
extern const TextMap colorSpaceNames;                 // tag 40961
extern const TextMap sensingMethodNames;              // tag 41495
extern const TextMap fileSourceNames;                 // tag 41728
extern const TextMap sceneTypeNames;                  // tag 41729
extern const TextMap customRenderedNames;             // tag 41985
extern const TextMap exposureModeNames;               // tag 41986
extern const TextMap whiteBalanceNames;               // tag 41987
extern const TextMap sceneCaptureTypeNames;           // tag 41990
extern const TextMap gainControlNames;                // tag 41991
extern const TextMap contrastNames;                   // tag 41992
extern const TextMap saturationNames;                 // tag 41993
extern const TextMap sharpnessNames;                  // tag 41994
extern const TextMap subjectDistanceRangeNames;       // tag 41996

/// Factors of GrayResponseUnit (tag 290) by its stored value.
extern const OrderedMap<double> grayResponseUnits;

}  // namespace ifdsweep::module
