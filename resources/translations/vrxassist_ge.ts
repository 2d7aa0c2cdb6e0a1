<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de" sourcelanguage="en">
<context>
    <name>BlueTitleBar</name>
    <message>
        <source>Float</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Close</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>DockWidget</name>
    <message>
        <source>Closable</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Movable</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Floatable</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Vertical title bar</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Allow on Left</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Place on Left</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Allow on Right</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Place on Right</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Allow on Top</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Place on Top</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Allow on Bottom</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Place on Bottom</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Show Title Bar</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Floating</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Tab into</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Split horizontally into</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Split vertically into</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Raise</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Change Size Hints...</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Open Containing Folder</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Close</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>LayoutFile</name>
    <message>
        <source>Error reading %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Failed to open %1
%2</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Error writing to %1
%2</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>MainWindow</name>
    <message>
        <source> FAQ</source>
        <translation> – häufige Fragen</translation>
    </message>
    <message>
        <source>File</source>
        <translation>Datei</translation>
    </message>
    <message>
        <source>Open...</source>
        <translation>Öffnen...</translation>
    </message>
    <message>
        <source>Recent Files</source>
        <translation>Zuletzt geöffnete Dateien</translation>
    </message>
    <message>
        <source>Close All Editors</source>
        <translation>Alle Editoren schließen</translation>
    </message>
    <message>
        <source>E&amp;xit</source>
        <translation>&amp;Beenden</translation>
    </message>
    <message>
        <source>View</source>
        <translation>Ansicht</translation>
    </message>
    <message>
        <source>Show Title Bars</source>
        <translation>Titelleisten anzeigen</translation>
    </message>
    <message>
        <source>Show All</source>
        <translation>Alle anzeigen</translation>
    </message>
    <message>
        <source>Layout</source>
        <translation>Anordnung</translation>
    </message>
    <message>
        <source>Restore Layout</source>
        <translation>Anordnung wiederherstellen</translation>
    </message>
    <message>
        <source>Startup Layout</source>
        <translation>Anordnung beim Start</translation>
    </message>
    <message>
        <source>Default</source>
        <translation>Standard</translation>
    </message>
    <message>
        <source>Last Used</source>
        <translation>Zuletzt verwendet</translation>
    </message>
    <message>
        <source>Save layout...</source>
        <translation>Anordnung speichern...</translation>
    </message>
    <message>
        <source>Load layout...</source>
        <translation>Anordnung laden...</translation>
    </message>
    <message>
        <source>Animated docks</source>
        <translation>Animierte Docks</translation>
    </message>
    <message>
        <source>Allow nested docks</source>
        <translation>Verschachtelte Docks erlauben</translation>
    </message>
    <message>
        <source>Allow tabbed docks</source>
        <translation>Docks als Reiter erlauben</translation>
    </message>
    <message>
        <source>Force tabbed docks</source>
        <translation>Docks immer als Reiter</translation>
    </message>
    <message>
        <source>Grouped dragging</source>
        <translation>Gruppiert ziehen</translation>
    </message>
    <message>
        <source>Switch layout direction</source>
        <translation>Richtung der Anordnung umkehren</translation>
    </message>
    <message>
        <source>Tab Position</source>
        <translation>Reiterposition</translation>
    </message>
    <message>
        <source>Left dock area</source>
        <translation>Linker Dockbereich</translation>
    </message>
    <message>
        <source>Right dock area</source>
        <translation>Rechter Dockbereich</translation>
    </message>
    <message>
        <source>Top dock area</source>
        <translation>Oberer Dockbereich</translation>
    </message>
    <message>
        <source>Bottom dock area</source>
        <translation>Unterer Dockbereich</translation>
    </message>
    <message>
        <source>North</source>
        <translation>Norden</translation>
    </message>
    <message>
        <source>South</source>
        <translation>Süden</translation>
    </message>
    <message>
        <source>West</source>
        <translation>Westen</translation>
    </message>
    <message>
        <source>East</source>
        <translation>Osten</translation>
    </message>
    <message>
        <source>Help</source>
        <translation>Hilfe</translation>
    </message>
    <message>
        <source>Language</source>
        <translation>Sprache</translation>
    </message>
    <message>
        <source>About </source>
        <translation>Über </translation>
    </message>
    <message>
        <source>Open Text or Firmware file</source>
        <translation>Text- oder Firmwaredatei öffnen</translation>
    </message>
    <message>
        <source>Show Plot Item List as popup
(If not already visible)</source>
        <translation>Liste der Plot-Einträge als Popup zeigen
(falls nicht schon sichtbar)</translation>
    </message>
    <message>
        <source>Always on top</source>
        <translation>Immer im Vordergrund</translation>
    </message>
    <message>
        <source>VRXUpdater</source>
        <translation>VRXUpdater</translation>
    </message>
    <message>
        <source>VRXMonitor</source>
        <translation>VRXMonitor</translation>
    </message>
    <message>
        <source>VRXUpdater Console</source>
        <translation>VRXUpdater-Konsole</translation>
    </message>
    <message>
        <source>Plot Items List</source>
        <translation>Liste der Plot-Einträge</translation>
    </message>
    <message>
        <source>Signal Plot</source>
        <translation>Signal-Plot</translation>
    </message>
    <message>
        <source>DSP Plot</source>
        <translation>DSP-Plot</translation>
    </message>
    <message>
        <source>About %1</source>
        <translation>Über %1</translation>
    </message>
    <message>
        <source> Status: Running... </source>
        <translation> Status: Läuft... </translation>
    </message>
    <message>
        <source> Status: Idle </source>
        <translation> Status: Leerlauf </translation>
    </message>
    <message>
        <source>Time since start: %1</source>
        <translation>Zeit seit dem Start: %1</translation>
    </message>
    <message>
        <source>Child process still running!</source>
        <translation>Kindprozess läuft noch!</translation>
    </message>
    <message>
        <source>Child process:

</source>
        <translation>Kindprozess:

</translation>
    </message>
    <message>
        <source>

is currently still running!

Terminate this process and quit?</source>
        <translation>

läuft noch!

Prozess beenden und das Programm schließen?</translation>
    </message>
    <message>
        <source>File Error</source>
        <translation>Dateifehler</translation>
    </message>
    <message>
        <source>The selected file:

 %1

 could not be found!</source>
        <translation>Die gewählte Datei:

 %1

 wurde nicht gefunden!</translation>
    </message>
    <message>
        <source>Editor %1: </source>
        <translation>Editor %1: </translation>
    </message>
    <message>
        <source>Open File</source>
        <translation>Datei öffnen</translation>
    </message>
    <message>
        <source>Text Files (*.log *.txt *.c *.cpp *.h *.bat *.sh *.asc *.okv *.mcs *.mmcs *.zip);;All files (*.*)</source>
        <translation>Textdateien (*.log *.txt *.c *.cpp *.h *.bat *.sh *.asc *.okv *.mcs *.mmcs *.zip);;Alle Dateien (*.*)</translation>
    </message>
    <message>
        <source>%1. %2</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>English</source>
        <translation>Deutsch</translation>
    </message>
    <message>
        <source>Advanced</source>
        <translation>Erweitert</translation>
    </message>
    <message>
        <source>Debug</source>
        <translation>Fehlersuche</translation>
    </message>
    <message>
        <source>Data Plot</source>
        <translation>Datenplot</translation>
    </message>
    <message>
        <source>Startup</source>
        <translation>Start</translation>
    </message>
    <message>
        <source>Error</source>
        <translation>Fehler</translation>
    </message>
    <message>
        <source>Error reading layout or geometry state!</source>
        <translation>Fehler beim Lesen der Anordnung oder der Fenstergeometrie!</translation>
    </message>
    <message>
        <source>Layout: %1</source>
        <translation>Anordnung: %1</translation>
    </message>
    <message>
        <source>Error setting startup layout options!</source>
        <translation>Die Anordnung für den Start konnte nicht gespeichert werden!</translation>
    </message>
    <message>
        <source>Save layout</source>
        <translation>Anordnung speichern</translation>
    </message>
    <message>
        <source>Load layout</source>
        <translation>Anordnung laden</translation>
    </message>
</context>
<context>
    <name>QObject</name>
    <message>
        <source>No limit</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>QTimeSpan</name>
    <message numerus="yes">
        <source>%n year(s)</source>
        <translation>
            <numerusform>%n Jahr</numerusform>
            <numerusform>%n Jahre</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n day(s)</source>
        <translation>
            <numerusform>%n Tag</numerusform>
            <numerusform>%n Tage</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n hour(s)</source>
        <translation>
            <numerusform>%n Stunde</numerusform>
            <numerusform>%n Stunden</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n minute(s)</source>
        <translation>
            <numerusform>%n Minute</numerusform>
            <numerusform>%n Minuten</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n second(s)</source>
        <translation>
            <numerusform>%n Sekunde</numerusform>
            <numerusform>%n Sekunden</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n millisecond(s)</source>
        <translation>
            <numerusform>%n Millisekunde</numerusform>
            <numerusform>%n Millisekunden</numerusform>
        </translation>
    </message>
</context>
<context>
    <name>SizeHintsDialog</name>
    <message>
        <source>Change Size Hints...</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Direction:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Horizontal</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Vertical</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Current Size:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Size Hint:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Min Size Hint:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Max Size:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Dock Widget Max Size:</source>
        <translation type="unfinished"></translation>
    </message>
</context>
</TS>
