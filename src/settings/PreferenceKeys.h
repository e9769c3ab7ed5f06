// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

/// The keys of the settings store. The spellings ("Images" beside "Image") are also those of the settings
/// file.
namespace PreferenceKeys {

inline const QString debugLogging = QStringLiteral("PreferencesDebugLoggingSettingKey");
inline const QString placesBrowserSort = QStringLiteral("PreferencesPlacesBrowserSortSettingKey");
inline const QString imageBrowserAnimation = QStringLiteral("PreferencesImageBrowserAnimationSettingKey");
inline const QString imageBrowserRecursive = QStringLiteral("PreferencesImageBrowserRecursiveSettingKey");
inline const QString imagesBrowserSort = QStringLiteral("PreferencesImagesBrowserSortSettingKey");
inline const QString printGeneralMetadata = QStringLiteral("ImageWindowPrintGeneralMetadataSettingKey");
inline const QString printIPTCMetadata = QStringLiteral("ImageWindowPrintIPTCMetadataSettingKey");
inline const QString printEXIFMetadata = QStringLiteral("ImageWindowPrintEXIFMetadataSettingKey");
inline const QString imageFolder = QStringLiteral("PreferencesImageFolderKey");
inline const QString imageURL = QStringLiteral("PreferencesImageURLKey");
inline const QString growlIsReady = QStringLiteral("GrowlIsReadyKey");

}  // namespace PreferenceKeys
