<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="fr" sourcelanguage="en">
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
        <translation> – foire aux questions</translation>
    </message>
    <message>
        <source>File</source>
        <translation>Fichier</translation>
    </message>
    <message>
        <source>Open...</source>
        <translation>Ouvrir...</translation>
    </message>
    <message>
        <source>Recent Files</source>
        <translation>Fichiers récents</translation>
    </message>
    <message>
        <source>Close All Editors</source>
        <translation>Fermer tous les éditeurs</translation>
    </message>
    <message>
        <source>E&amp;xit</source>
        <translation>&amp;Quitter</translation>
    </message>
    <message>
        <source>View</source>
        <translation>Affichage</translation>
    </message>
    <message>
        <source>Show Title Bars</source>
        <translation>Afficher les barres de titre</translation>
    </message>
    <message>
        <source>Show All</source>
        <translation>Tout afficher</translation>
    </message>
    <message>
        <source>Layout</source>
        <translation>Disposition</translation>
    </message>
    <message>
        <source>Restore Layout</source>
        <translation>Restaurer la disposition</translation>
    </message>
    <message>
        <source>Startup Layout</source>
        <translation>Disposition au démarrage</translation>
    </message>
    <message>
        <source>Default</source>
        <translation>Par défaut</translation>
    </message>
    <message>
        <source>Last Used</source>
        <translation>Dernière utilisée</translation>
    </message>
    <message>
        <source>Save layout...</source>
        <translation>Enregistrer la disposition...</translation>
    </message>
    <message>
        <source>Load layout...</source>
        <translation>Charger une disposition...</translation>
    </message>
    <message>
        <source>Animated docks</source>
        <translation>Panneaux animés</translation>
    </message>
    <message>
        <source>Allow nested docks</source>
        <translation>Autoriser les panneaux imbriqués</translation>
    </message>
    <message>
        <source>Allow tabbed docks</source>
        <translation>Autoriser les panneaux en onglets</translation>
    </message>
    <message>
        <source>Force tabbed docks</source>
        <translation>Forcer les panneaux en onglets</translation>
    </message>
    <message>
        <source>Grouped dragging</source>
        <translation>Déplacement groupé</translation>
    </message>
    <message>
        <source>Switch layout direction</source>
        <translation>Inverser le sens de la disposition</translation>
    </message>
    <message>
        <source>Tab Position</source>
        <translation>Position des onglets</translation>
    </message>
    <message>
        <source>Left dock area</source>
        <translation>Zone d&apos;ancrage gauche</translation>
    </message>
    <message>
        <source>Right dock area</source>
        <translation>Zone d&apos;ancrage droite</translation>
    </message>
    <message>
        <source>Top dock area</source>
        <translation>Zone d&apos;ancrage haute</translation>
    </message>
    <message>
        <source>Bottom dock area</source>
        <translation>Zone d&apos;ancrage basse</translation>
    </message>
    <message>
        <source>North</source>
        <translation>Nord</translation>
    </message>
    <message>
        <source>South</source>
        <translation>Sud</translation>
    </message>
    <message>
        <source>West</source>
        <translation>Ouest</translation>
    </message>
    <message>
        <source>East</source>
        <translation>Est</translation>
    </message>
    <message>
        <source>Help</source>
        <translation>Aide</translation>
    </message>
    <message>
        <source>Language</source>
        <translation>Langue</translation>
    </message>
    <message>
        <source>About </source>
        <translation>À propos de </translation>
    </message>
    <message>
        <source>Open Text or Firmware file</source>
        <translation>Ouvrir un fichier texte ou un micrologiciel</translation>
    </message>
    <message>
        <source>Show Plot Item List as popup
(If not already visible)</source>
        <translation>Afficher la liste des courbes en fenêtre surgissante
(si elle n&apos;est pas déjà visible)</translation>
    </message>
    <message>
        <source>Always on top</source>
        <translation>Toujours au premier plan</translation>
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
        <translation>Console VRXUpdater</translation>
    </message>
    <message>
        <source>Plot Items List</source>
        <translation>Liste des courbes</translation>
    </message>
    <message>
        <source>Signal Plot</source>
        <translation>Tracé du signal</translation>
    </message>
    <message>
        <source>DSP Plot</source>
        <translation>Tracé DSP</translation>
    </message>
    <message>
        <source>About %1</source>
        <translation>À propos de %1</translation>
    </message>
    <message>
        <source> Status: Running... </source>
        <translation> État : en cours... </translation>
    </message>
    <message>
        <source> Status: Idle </source>
        <translation> État : inactif </translation>
    </message>
    <message>
        <source>Time since start: %1</source>
        <translation>Temps écoulé depuis le démarrage : %1</translation>
    </message>
    <message>
        <source>Child process still running!</source>
        <translation>Le processus enfant tourne encore !</translation>
    </message>
    <message>
        <source>Child process:

</source>
        <translation>Processus enfant :

</translation>
    </message>
    <message>
        <source>

is currently still running!

Terminate this process and quit?</source>
        <translation>

est toujours en cours d&apos;exécution !

Arrêter ce processus et quitter ?</translation>
    </message>
    <message>
        <source>File Error</source>
        <translation>Erreur de fichier</translation>
    </message>
    <message>
        <source>The selected file:

 %1

 could not be found!</source>
        <translation>Le fichier choisi :

 %1

 est introuvable !</translation>
    </message>
    <message>
        <source>Editor %1: </source>
        <translation>Éditeur %1 : </translation>
    </message>
    <message>
        <source>Open File</source>
        <translation>Ouvrir un fichier</translation>
    </message>
    <message>
        <source>Text Files (*.log *.txt *.c *.cpp *.h *.bat *.sh *.asc *.okv *.mcs *.mmcs *.zip);;All files (*.*)</source>
        <translation>Fichiers texte (*.log *.txt *.c *.cpp *.h *.bat *.sh *.asc *.okv *.mcs *.mmcs *.zip);;Tous les fichiers (*.*)</translation>
    </message>
    <message>
        <source>%1. %2</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>English</source>
        <translation>Français</translation>
    </message>
    <message>
        <source>Advanced</source>
        <translation>Avancée</translation>
    </message>
    <message>
        <source>Debug</source>
        <translation>Débogage</translation>
    </message>
    <message>
        <source>Data Plot</source>
        <translation>Tracé de données</translation>
    </message>
    <message>
        <source>Startup</source>
        <translation>Démarrage</translation>
    </message>
    <message>
        <source>Error</source>
        <translation>Erreur</translation>
    </message>
    <message>
        <source>Error reading layout or geometry state!</source>
        <translation>Erreur de lecture de la disposition ou de la géométrie !</translation>
    </message>
    <message>
        <source>Layout: %1</source>
        <translation>Disposition : %1</translation>
    </message>
    <message>
        <source>Error setting startup layout options!</source>
        <translation>Impossible d&apos;enregistrer le choix de disposition au démarrage !</translation>
    </message>
    <message>
        <source>Save layout</source>
        <translation>Enregistrer la disposition</translation>
    </message>
    <message>
        <source>Load layout</source>
        <translation>Charger une disposition</translation>
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
            <numerusform>%n an</numerusform>
            <numerusform>%n ans</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n day(s)</source>
        <translation>
            <numerusform>%n jour</numerusform>
            <numerusform>%n jours</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n hour(s)</source>
        <translation>
            <numerusform>%n heure</numerusform>
            <numerusform>%n heures</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n minute(s)</source>
        <translation>
            <numerusform>%n minute</numerusform>
            <numerusform>%n minutes</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n second(s)</source>
        <translation>
            <numerusform>%n seconde</numerusform>
            <numerusform>%n secondes</numerusform>
        </translation>
    </message>
    <message numerus="yes">
        <source>%n millisecond(s)</source>
        <translation>
            <numerusform>%n milliseconde</numerusform>
            <numerusform>%n millisecondes</numerusform>
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
