#include "BrivaneSDK/DetectionState.h"

DetectionState& detectionState() {
  static auto& only = *new DetectionState;
  return only;
}
