#include "Reelhaul.h"

const double ReelhaulVersionNumber = REELHAUL_VERSION_MAJOR + REELHAUL_VERSION_MINOR / 100.0;
const unsigned char ReelhaulVersionString[] = REELHAUL_VERSION_TEXT;
