#include "jjkit/rewrites/LocalStackUpdatePlan.h"
