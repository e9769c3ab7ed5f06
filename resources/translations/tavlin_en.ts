<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="en">
<!-- One message a line, in the order of the keys. -->
<context>
    <name></name>
    <message id="MainWindowFileBrowserColumnFolders"><source></source><translation>Folders</translation></message>
    <message id="MainWindowScriptsBrowserColumnScriptName"><source></source><translation>Scripts</translation></message>
</context>
</TS>
