#include "Reelhaul.h"

const double ReelhaulVersionNumber = 1.0;
const unsigned char ReelhaulVersionString[] = REELHAUL_VERSION;
