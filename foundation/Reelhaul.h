#pragma once
/// \file
/// The whole interface of Reelhaul, and the version of the library that is loaded.

#include "HVArgsBuilder.h"
#include "HVConstants.h"
#include "HVDownloadBrowser.h"
#include "HVExport.h"
#include "IHVAdobePassAuthentication.h"
#include "IHVAuthenticationOptions.h"
#include "IHVBrowserState.h"
#include "IHVCertificateAuthentication.h"
#include "IHVDownloadController.h"
#include "IHVDownloadControllers.h"
#include "IHVDownloadCookies.h"
#include "IHVDownloadFormat.h"
#include "IHVDownloadItem.h"
#include "IHVDownloadOptions.h"
#include "IHVDownloadPlugin.h"
#include "IHVDownloadSubtitle.h"
#include "IHVDownloadTask.h"
#include "IHVDownloadTaskDelegate.h"
#include "IHVDownloadThumbnail.h"
#include "IHVError.h"
#include "IHVGeneralAuthentication.h"
#include "IHVGeneralOptions.h"
#include "IHVGeoRestrictionOptions.h"
#include "IHVLogConfig.h"
#include "IHVNetrcAuthentication.h"
#include "IHVNetworkOptions.h"
#include "IHVPlayList.h"
#include "IHVProxy.h"

/// Version of the interface.
extern "C" HV_EXPORT const double ReelhaulVersionNumber;
/// Version stamp of the build, a text such as "1.0.0".
extern "C" HV_EXPORT const unsigned char ReelhaulVersionString[];
