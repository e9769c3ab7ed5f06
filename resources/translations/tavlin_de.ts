<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de">
<!-- One message a line, in the order of the keys. -->
<context>
    <name></name>
    <message id="AboutWindowCreditsName"><source></source><translation>Mitwirkende</translation></message>
    <message id="AboutWindowDonateButtonTitle"><source></source><translation>&amp;Spenden…</translation></message>
    <message id="AboutWindowGoToHomeButtonTitle"><source></source><translation>Zur Home&amp;page</translation></message>
    <message id="AboutWindowWindowTitle"><source></source><translation>Über Tavlin</translation></message>
    <message id="CFBundleGetInfoString"><source></source><translation>Tavlin %1, Bildbetrachter für riesige Ordner</translation></message>
    <message id="GrowlMessageVolumeMounted"><source></source><translation>Das Laufwerk „%@“ ist jetzt da.</translation></message>
    <message id="GrowlMessageVolumeUnmounted"><source></source><translation>Das Laufwerk „%@“ wurde entfernt.</translation></message>
    <message id="ImageWindowBrokenPicture"><source></source><translation>Dieses Bild kann nicht gezeigt werden</translation></message>
    <message id="ImageWindowMetadataName"><source></source><translation>Metadaten</translation></message>
    <message id="ImageWindowPictureName"><source></source><translation>Bild</translation></message>
    <message id="MainMenuAbout"><source></source><translation>Ü&amp;ber Tavlin</translation></message>
    <message id="MainMenuActualSize"><source></source><translation>&amp;Originalgröße</translation></message>
    <message id="MainMenuClose"><source></source><translation>S&amp;chließen</translation></message>
    <message id="MainMenuCopy"><source></source><translation>&amp;Kopieren</translation></message>
    <message id="MainMenuEdit"><source></source><translation>&amp;Bearbeiten</translation></message>
    <message id="MainMenuFile"><source></source><translation>&amp;Datei</translation></message>
    <message id="MainMenuFullScreen"><source></source><translation>Vollbil&amp;d</translation></message>
    <message id="MainMenuGoToParentFolder"><source></source><translation>Zum ü&amp;bergeordneten Ordner</translation></message>
    <message id="MainMenuHelp"><source></source><translation>&amp;Hilfe</translation></message>
    <message id="MainMenuMoveToTrash"><source></source><translation>In den &amp;Papierkorb verschieben</translation></message>
    <message id="MainMenuNextPicture"><source></source><translation>Nä&amp;chstes Bild</translation></message>
    <message id="MainMenuOpen"><source></source><translation>Ö&amp;ffnen</translation></message>
    <message id="MainMenuOpenWith"><source></source><translation>Öffnen &amp;mit</translation></message>
    <message id="MainMenuPageSetup"><source></source><translation>&amp;Seite einrichten…</translation></message>
    <message id="MainMenuPreferences"><source></source><translation>&amp;Einstellungen…</translation></message>
    <message id="MainMenuPreviousPicture"><source></source><translation>&amp;Voriges Bild</translation></message>
    <message id="MainMenuPrint"><source></source><translation>&amp;Drucken…</translation></message>
    <message id="MainMenuQuit"><source></source><translation>&amp;Beenden</translation></message>
    <message id="MainMenuReload"><source></source><translation>&amp;Neu laden</translation></message>
    <message id="MainMenuSelectAll"><source></source><translation>&amp;Alles auswählen</translation></message>
    <message id="MainMenuShowInFileManager"><source></source><translation>Im Dateimana&amp;ger zeigen</translation></message>
    <message id="MainMenuUndo"><source></source><translation>&amp;Rückgängig</translation></message>
    <message id="MainMenuView"><source></source><translation>&amp;Ansicht</translation></message>
    <message id="MainMenuZoomIn"><source></source><translation>Ver&amp;größern</translation></message>
    <message id="MainMenuZoomOut"><source></source><translation>Ver&amp;kleinern</translation></message>
    <message id="MainMenuZoomToFit"><source></source><translation>Ans &amp;Fenster anpassen</translation></message>
    <message id="MainWindowBusyName"><source></source><translation>Bilder werden gesucht</translation></message>
    <message id="MainWindowEmptyFolder"><source></source><translation>Dieser Ordner ist leer</translation></message>
    <message id="MainWindowFileBrowserColumnFolders"><source></source><translation>Ordner</translation></message>
    <message id="MainWindowPicturePosition"><source></source><translation>%1 von %2</translation></message>
    <message id="MainWindowPicturesName"><source></source><translation>Bilder</translation></message>
    <message id="MainWindowPlacesName"><source></source><translation>Orte</translation></message>
    <message id="MainWindowScriptsBrowserColumnScriptName"><source></source><translation>Skripte</translation></message>
    <message id="MainWindowScriptsName"><source></source><translation>Skripte</translation></message>
    <message id="MainWindowStatusFound"><source></source><translation>%1 gefunden…</translation></message>
    <message id="MainWindowStatusItems"><source></source><translation>%1 Objekte</translation></message>
    <message id="MainWindowStatusOneItem"><source></source><translation>1 Objekt</translation></message>
    <message id="MainWindowStatusOpeningFailed"><source></source><translation>Konnte nicht geöffnet werden, siehe Protokoll</translation></message>
    <message id="MainWindowStatusScriptDone"><source></source><translation>%1: fertig</translation></message>
    <message id="MainWindowStatusScriptFailed"><source></source><translation>%1: fehlgeschlagen (Status %2), siehe Protokoll</translation></message>
    <message id="MainWindowStatusScriptRunning"><source></source><translation>%1 läuft…</translation></message>
    <message id="MainWindowStatusSelected"><source></source><translation>%1 von %2 ausgewählt</translation></message>
    <message id="MainWindowUnreadableFolder"><source></source><translation>Dieser Ordner kann nicht gelesen werden</translation></message>
    <message id="MainWindowZoomInName"><source></source><translation>Bilder vergrößern</translation></message>
    <message id="MainWindowZoomName"><source></source><translation>Größe der Bilder</translation></message>
    <message id="MainWindowZoomOutName"><source></source><translation>Bilder verkleinern</translation></message>
    <message id="OpenWithMenuLooking"><source></source><translation>Programme werden gesucht…</translation></message>
    <message id="OpenWithMenuNone"><source></source><translation>Kein Programm öffnet dies</translation></message>
    <message id="PreferencesWindowBoxDeveloper"><source></source><translation>Fehlersuche</translation></message>
    <message id="PreferencesWindowBoxImageBrowser"><source></source><translation>Bilder</translation></message>
    <message id="PreferencesWindowBoxPlacesBrowser"><source></source><translation>Orte</translation></message>
    <message id="PreferencesWindowBoxPrinting"><source></source><translation>Neben dem Bild drucken</translation></message>
    <message id="PreferencesWindowDebugLoggingButtonTitle"><source></source><translation>Fehler&amp;protokoll schreiben</translation></message>
    <message id="PreferencesWindowImageBrowserAnimationCheckboxTitle"><source></source><translation>&amp;Veränderungen animieren</translation></message>
    <message id="PreferencesWindowImageBrowserOptionSortByModificationDateTitle"><source></source><translation>Nach Änderungsda&amp;tum sortieren</translation></message>
    <message id="PreferencesWindowImageBrowserOptionSortByNameTitle"><source></source><translation>Nach Na&amp;men sortieren</translation></message>
    <message id="PreferencesWindowImageBrowserRecursiveCheckboxTitle"><source></source><translation>Bilder aus Unterordnern mit an&amp;zeigen</translation></message>
    <message id="PreferencesWindowPlacesBrowserOptionSortByModificationDateTitle"><source></source><translation>Nach Änderungsdat&amp;um sortieren</translation></message>
    <message id="PreferencesWindowPlacesBrowserOptionSortByNameTitle"><source></source><translation>Nach &amp;Namen sortieren</translation></message>
    <message id="PreferencesWindowPrintEXIFMetadataCheckboxTitle"><source></source><translation>E&amp;XIF-Metadaten (bis zum Beenden)</translation></message>
    <message id="PreferencesWindowPrintGeneralMetadataCheckboxTitle"><source></source><translation>Allgemeine An&amp;gaben (bis zum Beenden)</translation></message>
    <message id="PreferencesWindowPrintIPTCMetadataCheckboxTitle"><source></source><translation>&amp;IPTC-Metadaten</translation></message>
    <message id="PreferencesWindowTitle"><source></source><translation>Einstellungen</translation></message>
    <message id="PrintingFailed"><source></source><translation>Das Bild konnte nicht nach „%1“ gedruckt werden.</translation></message>
    <message id="PrintingProgress"><source></source><translation>Drucken…</translation></message>
    <message id="ScriptsMenuOpenFolder"><source></source><translation>Skript&amp;ordner öffnen</translation></message>
    <message id="ScriptsMenuRun"><source></source><translation>A&amp;usführen</translation></message>
</context>
</TS>
