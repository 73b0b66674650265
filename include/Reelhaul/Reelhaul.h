#pragma once
/// \file
/// The whole interface of Reelhaul, and the version of the library that is loaded.
///
/// \mainpage
/// Start with Halvorn::IHVDownloadTask, which analyses an address, Halvorn::IHVDownloadItem, which is what it
/// finds, and Halvorn::IHVDownloadControllers, the queue that downloads it. docs/guide.md leads through all
/// of it.
///
/// Objects are made by the static `Malloc...` operations, which never return an empty pointer unless they say
/// so, and are held by shared pointers. They have no virtual destructor: delete none yourself. A text is
/// UTF-8. Nothing blocks or throws unless it says so.

/// \namespace Halvorn
/// All of the interface but the version of the library.

#include "HVArgsBuilder.h"
#include "HVBrowserQuestion.h"
#include "HVConstants.h"
#include "HVDisplayText.h"
#include "HVDownloadBrowser.h"
#include "HVExport.h"
#include "HVFormatWish.h"
#include "HVItemDetails.h"
#include "HVKeptNeed.h"
#include "HVListEntry.h"
#include "HVMetadataFiles.h"
#include "HVNameTemplate.h"
#include "HVVersion.h"
#include "IHVAdobePassAuthentication.h"
#include "IHVAnalysisGroup.h"
#include "IHVAuthenticationOptions.h"
#include "IHVBrowserState.h"
#include "IHVCallbackDispatcher.h"
#include "IHVCertificateAuthentication.h"
#include "IHVConversionOptions.h"
#include "IHVCookieMessage.h"
#include "IHVCookieStock.h"
#include "IHVDownloadArchive.h"
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
#include "IHVKeptQueue.h"
#include "IHVLogConfig.h"
#include "IHVNetrcAuthentication.h"
#include "IHVNetworkOptions.h"
#include "IHVPlayList.h"
#include "IHVProxy.h"
#include "IHVRunningBrowsers.h"
#include "IHVWarmTool.h"

/// Version of the interface, the minor version as hundredths: 1.02 is version 1.2.
extern "C" HV_EXPORT const double ReelhaulVersionNumber;
/// Version stamp of the build, a text such as "1.0.0".
extern "C" HV_EXPORT const unsigned char ReelhaulVersionString[];
