#include "jjkit/rewrites/FeatureInsertionPlan.h"
