<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="en">
<!-- One message a line, in the order of the keys. -->
<context>
    <name></name>
    <message id="AboutWindowCreditsName"><source></source><translation>Credits</translation></message>
    <message id="AboutWindowDonateButtonTitle"><source></source><translation>&amp;Donate…</translation></message>
    <message id="AboutWindowGoToHomeButtonTitle"><source></source><translation>Visit Our Home &amp;Page</translation></message>
    <message id="AboutWindowWindowTitle"><source></source><translation>About Tavlin</translation></message>
    <message id="CFBundleGetInfoString"><source></source><translation>Tavlin %1, image browser for huge folders</translation></message>
    <message id="GrowlMessageVolumeMounted"><source></source><translation>The volume “%@” is there now.</translation></message>
    <message id="GrowlMessageVolumeUnmounted"><source></source><translation>The volume “%@” was removed.</translation></message>
    <message id="ImageWindowBrokenPicture"><source></source><translation>This picture cannot be shown</translation></message>
    <message id="ImageWindowMetadataName"><source></source><translation>Metadata</translation></message>
    <message id="ImageWindowPictureName"><source></source><translation>Picture</translation></message>
    <message id="MainMenuAbout"><source></source><translation>&amp;About Tavlin</translation></message>
    <message id="MainMenuActualSize"><source></source><translation>&amp;Actual Size</translation></message>
    <message id="MainMenuClose"><source></source><translation>&amp;Close</translation></message>
    <message id="MainMenuCopy"><source></source><translation>&amp;Copy</translation></message>
    <message id="MainMenuEdit"><source></source><translation>&amp;Edit</translation></message>
    <message id="MainMenuFile"><source></source><translation>&amp;File</translation></message>
    <message id="MainMenuFullScreen"><source></source><translation>F&amp;ull Screen</translation></message>
    <message id="MainMenuGoToParentFolder"><source></source><translation>&amp;Go to Parent Folder</translation></message>
    <message id="MainMenuHelp"><source></source><translation>&amp;Help</translation></message>
    <message id="MainMenuMoveToTrash"><source></source><translation>Move to &amp;Trash</translation></message>
    <message id="MainMenuNextPicture"><source></source><translation>&amp;Next Picture</translation></message>
    <message id="MainMenuOpen"><source></source><translation>&amp;Open</translation></message>
    <message id="MainMenuOpenWith"><source></source><translation>Open &amp;With</translation></message>
    <message id="MainMenuPageSetup"><source></source><translation>Pa&amp;ge Setup…</translation></message>
    <message id="MainMenuPreferences"><source></source><translation>&amp;Preferences…</translation></message>
    <message id="MainMenuPreviousPicture"><source></source><translation>&amp;Previous Picture</translation></message>
    <message id="MainMenuPrint"><source></source><translation>&amp;Print…</translation></message>
    <message id="MainMenuQuit"><source></source><translation>&amp;Quit</translation></message>
    <message id="MainMenuReload"><source></source><translation>&amp;Reload</translation></message>
    <message id="MainMenuSelectAll"><source></source><translation>Select &amp;All</translation></message>
    <message id="MainMenuShowInFileManager"><source></source><translation>Show in File &amp;Manager</translation></message>
    <message id="MainMenuUndo"><source></source><translation>&amp;Undo</translation></message>
    <message id="MainMenuView"><source></source><translation>&amp;View</translation></message>
    <message id="MainMenuZoomIn"><source></source><translation>Zoom &amp;In</translation></message>
    <message id="MainMenuZoomOut"><source></source><translation>Zoom &amp;Out</translation></message>
    <message id="MainMenuZoomToFit"><source></source><translation>&amp;Fit to Window</translation></message>
    <message id="MainWindowBusyName"><source></source><translation>Looking for pictures</translation></message>
    <message id="MainWindowEmptyFolder"><source></source><translation>This folder is empty</translation></message>
    <message id="MainWindowFileBrowserColumnFolders"><source></source><translation>Folders</translation></message>
    <message id="MainWindowPicturePosition"><source></source><translation>%1 of %2</translation></message>
    <message id="MainWindowPicturesName"><source></source><translation>Pictures</translation></message>
    <message id="MainWindowPlacesName"><source></source><translation>Places</translation></message>
    <message id="MainWindowScriptsBrowserColumnScriptName"><source></source><translation>Scripts</translation></message>
    <message id="MainWindowScriptsName"><source></source><translation>Scripts</translation></message>
    <message id="MainWindowStatusFound"><source></source><translation>%1 found…</translation></message>
    <message id="MainWindowStatusItems"><source></source><translation>%1 items</translation></message>
    <message id="MainWindowStatusOneItem"><source></source><translation>1 item</translation></message>
    <message id="MainWindowStatusOpeningFailed"><source></source><translation>Could not be opened, see the log</translation></message>
    <message id="MainWindowStatusScriptDone"><source></source><translation>%1: done</translation></message>
    <message id="MainWindowStatusScriptFailed"><source></source><translation>%1: failed (exit %2), see the log</translation></message>
    <message id="MainWindowStatusScriptRunning"><source></source><translation>Running %1…</translation></message>
    <message id="MainWindowStatusSelected"><source></source><translation>%1 of %2 selected</translation></message>
    <message id="MainWindowUnreadableFolder"><source></source><translation>This folder cannot be read</translation></message>
    <message id="MainWindowZoomInName"><source></source><translation>Larger pictures</translation></message>
    <message id="MainWindowZoomName"><source></source><translation>Size of the pictures</translation></message>
    <message id="MainWindowZoomOutName"><source></source><translation>Smaller pictures</translation></message>
    <message id="OpenWithMenuLooking"><source></source><translation>Looking for programs…</translation></message>
    <message id="OpenWithMenuNone"><source></source><translation>No program opens this</translation></message>
    <message id="PreferencesWindowBoxDeveloper"><source></source><translation>Troubleshooting</translation></message>
    <message id="PreferencesWindowBoxImageBrowser"><source></source><translation>Pictures</translation></message>
    <message id="PreferencesWindowBoxPlacesBrowser"><source></source><translation>Places</translation></message>
    <message id="PreferencesWindowBoxPrinting"><source></source><translation>Print beside the picture</translation></message>
    <message id="PreferencesWindowDebugLoggingButtonTitle"><source></source><translation>Write a debug &amp;log</translation></message>
    <message id="PreferencesWindowImageBrowserAnimationCheckboxTitle"><source></source><translation>&amp;Animate changes</translation></message>
    <message id="PreferencesWindowImageBrowserOptionSortByModificationDateTitle"><source></source><translation>Sort by modification da&amp;te</translation></message>
    <message id="PreferencesWindowImageBrowserOptionSortByNameTitle"><source></source><translation>Sort by na&amp;me</translation></message>
    <message id="PreferencesWindowImageBrowserRecursiveCheckboxTitle"><source></source><translation>Include pictures in &amp;subfolders</translation></message>
    <message id="PreferencesWindowPlacesBrowserOptionSortByModificationDateTitle"><source></source><translation>Sort by modification &amp;date</translation></message>
    <message id="PreferencesWindowPlacesBrowserOptionSortByNameTitle"><source></source><translation>Sort by &amp;name</translation></message>
    <message id="PreferencesWindowPrintEXIFMetadataCheckboxTitle"><source></source><translation>E&amp;XIF metadata (until Tavlin quits)</translation></message>
    <message id="PreferencesWindowPrintGeneralMetadataCheckboxTitle"><source></source><translation>&amp;General properties (until Tavlin quits)</translation></message>
    <message id="PreferencesWindowPrintIPTCMetadataCheckboxTitle"><source></source><translation>&amp;IPTC metadata</translation></message>
    <message id="PreferencesWindowTitle"><source></source><translation>Preferences</translation></message>
    <message id="PrintingFailed"><source></source><translation>The picture could not be printed to “%1”.</translation></message>
    <message id="PrintingProgress"><source></source><translation>Printing…</translation></message>
    <message id="ScriptsMenuOpenFolder"><source></source><translation>Open Scripts &amp;Folder</translation></message>
    <message id="ScriptsMenuRun"><source></source><translation>&amp;Run</translation></message>
</context>
</TS>
