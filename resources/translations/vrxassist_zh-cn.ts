<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="zh_CN" sourcelanguage="en">
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
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>File</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Open...</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Recent Files</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Close All Editors</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>E&amp;xit</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>View</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Show Title Bars</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Show All</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Layout</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Restore Layout</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Startup Layout</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Default</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Last Used</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Save layout...</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Load layout...</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Animated docks</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Allow nested docks</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Allow tabbed docks</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Force tabbed docks</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Grouped dragging</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Switch layout direction</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Tab Position</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Left dock area</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Right dock area</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Top dock area</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Bottom dock area</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>North</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>South</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>West</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>East</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Help</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Language</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>About </source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Open Text or Firmware file</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Show Plot Item List as popup
(If not already visible)</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Always on top</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>VRXUpdater</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>VRXMonitor</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>VRXUpdater Console</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Plot Items List</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Signal Plot</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>DSP Plot</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>About %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source> Status: Running... </source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source> Status: Idle </source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Time since start: %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Child process still running!</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Child process:

</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>

is currently still running!

Terminate this process and quit?</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>File Error</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The selected file:

 %1

 could not be found!</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Editor %1: </source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Open File</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Text Files (*.log *.txt *.c *.cpp *.h *.bat *.sh *.asc *.okv *.mcs *.mmcs *.zip);;All files (*.*)</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>%1. %2</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>English</source>
        <translation>简体中文</translation>
    </message>
    <message>
        <source>Advanced</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Debug</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Data Plot</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Startup</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Error</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Error reading layout or geometry state!</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Layout: %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Error setting startup layout options!</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Save layout</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Load layout</source>
        <translation type="unfinished"></translation>
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
        <translation type="unfinished">
            <numerusform></numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n day(s)</source>
        <translation type="unfinished">
            <numerusform></numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n hour(s)</source>
        <translation type="unfinished">
            <numerusform></numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n minute(s)</source>
        <translation type="unfinished">
            <numerusform></numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n second(s)</source>
        <translation type="unfinished">
            <numerusform></numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n millisecond(s)</source>
        <translation type="unfinished">
            <numerusform></numerusform>
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
