#include "jjkit/rewrites/FeatureAppendPlan.h"
