#include "Reelhaul.h"

const double ReelhaulVersionNumber = REELHAUL_VERSION / 100 / 100.0;
const unsigned char ReelhaulVersionString[] = REELHAUL_VERSION_TEXT;
