<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="sv_SE" sourcelanguage="en">
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
        <translation> – vanliga frågor</translation>
    </message>
    <message>
        <source>File</source>
        <translation>Arkiv</translation>
    </message>
    <message>
        <source>Open...</source>
        <translation>Öppna...</translation>
    </message>
    <message>
        <source>Recent Files</source>
        <translation>Senaste filer</translation>
    </message>
    <message>
        <source>Close All Editors</source>
        <translation>Stäng alla redigerare</translation>
    </message>
    <message>
        <source>E&amp;xit</source>
        <translation>&amp;Avsluta</translation>
    </message>
    <message>
        <source>View</source>
        <translation>Visa</translation>
    </message>
    <message>
        <source>Show Title Bars</source>
        <translation>Visa namnlister</translation>
    </message>
    <message>
        <source>Show All</source>
        <translation>Visa alla</translation>
    </message>
    <message>
        <source>Layout</source>
        <translation>Layout</translation>
    </message>
    <message>
        <source>Restore Layout</source>
        <translation>Återställ layout</translation>
    </message>
    <message>
        <source>Startup Layout</source>
        <translation>Layout vid start</translation>
    </message>
    <message>
        <source>Default</source>
        <translation>Standard</translation>
    </message>
    <message>
        <source>Last Used</source>
        <translation>Senast använd</translation>
    </message>
    <message>
        <source>Save layout...</source>
        <translation>Spara layout...</translation>
    </message>
    <message>
        <source>Load layout...</source>
        <translation>Läs in layout...</translation>
    </message>
    <message>
        <source>Animated docks</source>
        <translation>Animerade paneler</translation>
    </message>
    <message>
        <source>Allow nested docks</source>
        <translation>Tillåt nästlade paneler</translation>
    </message>
    <message>
        <source>Allow tabbed docks</source>
        <translation>Tillåt paneler i flikar</translation>
    </message>
    <message>
        <source>Force tabbed docks</source>
        <translation>Tvinga paneler i flikar</translation>
    </message>
    <message>
        <source>Grouped dragging</source>
        <translation>Dra i grupp</translation>
    </message>
    <message>
        <source>Switch layout direction</source>
        <translation>Byt layoutriktning</translation>
    </message>
    <message>
        <source>Tab Position</source>
        <translation>Flikposition</translation>
    </message>
    <message>
        <source>Left dock area</source>
        <translation>Vänster panelområde</translation>
    </message>
    <message>
        <source>Right dock area</source>
        <translation>Höger panelområde</translation>
    </message>
    <message>
        <source>Top dock area</source>
        <translation>Övre panelområde</translation>
    </message>
    <message>
        <source>Bottom dock area</source>
        <translation>Nedre panelområde</translation>
    </message>
    <message>
        <source>North</source>
        <translation>Norr</translation>
    </message>
    <message>
        <source>South</source>
        <translation>Söder</translation>
    </message>
    <message>
        <source>West</source>
        <translation>Väster</translation>
    </message>
    <message>
        <source>East</source>
        <translation>Öster</translation>
    </message>
    <message>
        <source>Help</source>
        <translation>Hjälp</translation>
    </message>
    <message>
        <source>Language</source>
        <translation>Språk</translation>
    </message>
    <message>
        <source>About </source>
        <translation>Om </translation>
    </message>
    <message>
        <source>Open Text or Firmware file</source>
        <translation>Öppna text- eller firmwarefil</translation>
    </message>
    <message>
        <source>Show Plot Item List as popup
(If not already visible)</source>
        <translation>Visa kurvlistan som popup
(om den inte redan syns)</translation>
    </message>
    <message>
        <source>Always on top</source>
        <translation>Alltid överst</translation>
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
        <translation>VRXUpdater-konsol</translation>
    </message>
    <message>
        <source>Plot Items List</source>
        <translation>Kurvlista</translation>
    </message>
    <message>
        <source>Signal Plot</source>
        <translation>Signaldiagram</translation>
    </message>
    <message>
        <source>DSP Plot</source>
        <translation>DSP-diagram</translation>
    </message>
    <message>
        <source>About %1</source>
        <translation>Om %1</translation>
    </message>
    <message>
        <source> Status: Running... </source>
        <translation> Status: Kör... </translation>
    </message>
    <message>
        <source> Status: Idle </source>
        <translation> Status: Vilande </translation>
    </message>
    <message>
        <source>Time since start: %1</source>
        <translation>Tid sedan start: %1</translation>
    </message>
    <message>
        <source>Child process still running!</source>
        <translation>Barnprocessen körs fortfarande!</translation>
    </message>
    <message>
        <source>Child process:

</source>
        <translation>Barnprocess:

</translation>
    </message>
    <message>
        <source>

is currently still running!

Terminate this process and quit?</source>
        <translation>

körs fortfarande!

Avsluta processen och stäng programmet?</translation>
    </message>
    <message>
        <source>File Error</source>
        <translation>Filfel</translation>
    </message>
    <message>
        <source>The selected file:

 %1

 could not be found!</source>
        <translation>Den valda filen:

 %1

 kunde inte hittas!</translation>
    </message>
    <message>
        <source>Editor %1: </source>
        <translation>Redigerare %1: </translation>
    </message>
    <message>
        <source>Open File</source>
        <translation>Öppna fil</translation>
    </message>
    <message>
        <source>Text Files (*.log *.txt *.c *.cpp *.h *.bat *.sh *.asc *.okv *.mcs *.mmcs *.zip);;All files (*.*)</source>
        <translation>Textfiler (*.log *.txt *.c *.cpp *.h *.bat *.sh *.asc *.okv *.mcs *.mmcs *.zip);;Alla filer (*.*)</translation>
    </message>
    <message>
        <source>%1. %2</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>English</source>
        <translation>Svenska</translation>
    </message>
    <message>
        <source>Advanced</source>
        <translation>Avancerad</translation>
    </message>
    <message>
        <source>Debug</source>
        <translation>Felsökning</translation>
    </message>
    <message>
        <source>Data Plot</source>
        <translation>Datadiagram</translation>
    </message>
    <message>
        <source>Startup</source>
        <translation>Start</translation>
    </message>
    <message>
        <source>Error</source>
        <translation>Fel</translation>
    </message>
    <message>
        <source>Error reading layout or geometry state!</source>
        <translation>Fel vid läsning av layout eller fönstergeometri!</translation>
    </message>
    <message>
        <source>Layout: %1</source>
        <translation>Layout: %1</translation>
    </message>
    <message>
        <source>Error setting startup layout options!</source>
        <translation>Det gick inte att spara valet av layout vid start!</translation>
    </message>
    <message>
        <source>Save layout</source>
        <translation>Spara layout</translation>
    </message>
    <message>
        <source>Load layout</source>
        <translation>Läs in layout</translation>
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
            <numerusform>%n år</numerusform>
            <numerusform>%n år</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n day(s)</source>
        <translation>
            <numerusform>%n dag</numerusform>
            <numerusform>%n dagar</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n hour(s)</source>
        <translation>
            <numerusform>%n timme</numerusform>
            <numerusform>%n timmar</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n minute(s)</source>
        <translation>
            <numerusform>%n minut</numerusform>
            <numerusform>%n minuter</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n second(s)</source>
        <translation>
            <numerusform>%n sekund</numerusform>
            <numerusform>%n sekunder</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n millisecond(s)</source>
        <translation>
            <numerusform>%n millisekund</numerusform>
            <numerusform>%n millisekunder</numerusform>
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
