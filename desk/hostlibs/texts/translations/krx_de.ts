<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de" sourcelanguage="en">
<context>
    <name>KRX</name>
    <message>
        <source>+</source>
        <translation>+</translation>
    </message>
    <message>
        <source>-</source>
        <translation>-</translation>
    </message>
    <message>
        <source>16 Bit</source>
        <translation>16 Bit</translation>
    </message>
    <message>
        <source>24 Bit</source>
        <translation>24 Bit</translation>
    </message>
    <message>
        <source>32 Bit Float</source>
        <translation>32 Bit Gleitkomma</translation>
    </message>
    <message>
        <source>8 Bit</source>
        <translation>8 Bit</translation>
    </message>
    <message>
        <source>ACTIONS:</source>
        <translation>AKTIONEN:</translation>
    </message>
    <message>
        <source>Acquire</source>
        <translation>Übernehmen</translation>
    </message>
    <message>
        <source>Acquiring clips from KRX... %1 of %2</source>
        <translation>Clips werden aus KRX übernommen ... %1 von %2</translation>
    </message>
    <message>
        <source>Active  Bin</source>
        <translation>Aktive Bin</translation>
    </message>
    <message>
        <source>Add Folder to the KRX Folder List</source>
        <translation>Ordner zur Liste der KRX-Ordner hinzufügen</translation>
    </message>
    <message>
        <source>Add an Action</source>
        <translation>Aktion hinzufügen</translation>
    </message>
    <message>
        <source>Apply Reformatting option (compatibility mode)</source>
        <translation>Umformatierung anwenden (Kompatibilitätsmodus)</translation>
    </message>
    <message>
        <source>Apply color transformations (compatibility mode)</source>
        <translation>Farbtransformationen anwenden (Kompatibilitätsmodus)</translation>
    </message>
    <message>
        <source>Are you sure you want to delete [%1] profile?</source>
        <translation>Soll das Profil [%1] wirklich gelöscht werden?</translation>
    </message>
    <message>
        <source>Assign Audio Tracks to Specific Channels in Your Linked Media</source>
        <translation>Audiospuren bestimmten Kanälen der verknüpften Medien zuordnen</translation>
    </message>
    <message>
        <source>Audio</source>
        <translation>Audio</translation>
    </message>
    <message>
        <source>Audio Drive</source>
        <translation>Audiolaufwerk</translation>
    </message>
    <message>
        <source>Audio Start-Time Option (for Broadcast Wave)</source>
        <translation>Audio-Startzeit (für Broadcast Wave)</translation>
    </message>
    <message>
        <source>Audio timecode rate</source>
        <translation>Audio-Timecode-Rate</translation>
    </message>
    <message>
        <source>Audio timecode rate:</source>
        <translation>Audio-Timecode-Rate:</translation>
    </message>
    <message>
        <source>Audio:</source>
        <translation>Audio:</translation>
    </message>
    <message>
        <source>Auto Relink when complete</source>
        <translation>Nach Abschluss automatisch neu verknüpfen</translation>
    </message>
    <message>
        <source>Auto copy to</source>
        <translation>Automatisch kopieren nach</translation>
    </message>
    <message>
        <source>Autodetect Plug-in</source>
        <translation>Autodetect Plug-in</translation>
    </message>
    <message>
        <source>Automatically Relink Files When Copy is Completed</source>
        <translation>Dateien automatisch neu verknüpfen, sobald sie kopiert sind</translation>
    </message>
    <message>
        <source>Bins</source>
        <translation>Bins</translation>
    </message>
    <message>
        <source>Bins:</source>
        <translation>Bins:</translation>
    </message>
    <message>
        <source>Can&apos;t add folder %1
%2</source>
        <translation>Der Ordner %1 kann nicht hinzugefügt werden
%2</translation>
    </message>
    <message>
        <source>Can&apos;t assign %1 profile to this folder. Folder and Profile [Copy To] action have the same path</source>
        <translation>Das Profil %1 kann diesem Ordner nicht zugewiesen werden. Der Ordner und die Aktion [Kopieren nach] des Profils haben denselben Pfad</translation>
    </message>
    <message>
        <source>Can&apos;t create new profile!
%1</source>
        <translation>Das neue Profil kann nicht angelegt werden!
%1</translation>
    </message>
    <message>
        <source>Can&apos;t delete %1</source>
        <translation>%1 kann nicht gelöscht werden</translation>
    </message>
    <message>
        <source>Can&apos;t delete folder %1!
%2</source>
        <translation>Der Ordner %1 kann nicht entfernt werden!
%2</translation>
    </message>
    <message>
        <source>Can&apos;t delete selected profile!
%1</source>
        <translation>Das ausgewählte Profil kann nicht gelöscht werden!
%1</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Abbrechen</translation>
    </message>
    <message>
        <source>Check in to Ledgerhouse</source>
        <translation>In Ledgerhouse einchecken</translation>
    </message>
    <message>
        <source>Checkin to Ledgerhouse</source>
        <translation>In Ledgerhouse einchecken</translation>
    </message>
    <message>
        <source>Checks in assets to Ledgerhouse</source>
        <translation>Checkt Medien in Ledgerhouse ein</translation>
    </message>
    <message>
        <source>Choose Action</source>
        <translation>Aktion wählen</translation>
    </message>
    <message>
        <source>Choose Profile for Selected Folder</source>
        <translation>Profil für den ausgewählten Ordner wählen</translation>
    </message>
    <message>
        <source>Choose the Location Where You Want the files Copied to</source>
        <translation>Ort wählen, an den die Dateien kopiert werden</translation>
    </message>
    <message>
        <source>Codec:</source>
        <translation>Codec:</translation>
    </message>
    <message>
        <source>Color Space:</source>
        <translation>Farbraum:</translation>
    </message>
    <message>
        <source>Consolidate</source>
        <translation>Konsolidieren</translation>
    </message>
    <message>
        <source>Convert Audio Bit Depth</source>
        <translation>Audio-Bittiefe konvertieren</translation>
    </message>
    <message>
        <source>Convert Audio Bit Depth : </source>
        <translation>Audio-Bittiefe konvertieren : </translation>
    </message>
    <message>
        <source>Convert Audio Format</source>
        <translation>Audioformat konvertieren</translation>
    </message>
    <message>
        <source>Convert Audio Sample Rate</source>
        <translation>Audio-Abtastrate konvertieren</translation>
    </message>
    <message>
        <source>Convert Audio Sample Rate : </source>
        <translation>Audio-Abtastrate konvertieren : </translation>
    </message>
    <message>
        <source>Convert timecode to frames</source>
        <translation>Timecode in Frames umrechnen</translation>
    </message>
    <message>
        <source>Copy %1</source>
        <translation>Kopieren %1</translation>
    </message>
    <message>
        <source>Copy To:  %1</source>
        <translation>Kopieren nach:  %1</translation>
    </message>
    <message>
        <source>Copy to Folder</source>
        <translation>In Ordner kopieren</translation>
    </message>
    <message>
        <source>Copy to Folder action : Output folder not set !</source>
        <translation>Aktion „In Ordner kopieren“: Es ist kein Zielordner gewählt!</translation>
    </message>
    <message>
        <source>Copy to Folder action : The path of the output folder has characters that cannot be stored !</source>
        <translation>Aktion „In Ordner kopieren“: Der Pfad des Zielordners enthält Zeichen, die nicht gespeichert werden können!</translation>
    </message>
    <message>
        <source>Create New Bin</source>
        <translation>Neue Bin anlegen</translation>
    </message>
    <message>
        <source>Create New Bin to Store Linked Clips</source>
        <translation>Eine neue Bin für verknüpfte Clips anlegen</translation>
    </message>
    <message>
        <source>Create a new Bin : </source>
        <translation>Neue Bin anlegen : </translation>
    </message>
    <message>
        <source>Default Bin Name</source>
        <translation>Standardname der Bin</translation>
    </message>
    <message>
        <source>Default Bin Naming Convention</source>
        <translation>Bin nach Standard benennen</translation>
    </message>
    <message>
        <source>Default FPS:</source>
        <translation>Standard-Bildrate:</translation>
    </message>
    <message>
        <source>Default Name</source>
        <translation>Standardname</translation>
    </message>
    <message>
        <source>Default Profile</source>
        <translation>Default Profile</translation>
    </message>
    <message>
        <source>Delete Profile</source>
        <translation>Profil löschen</translation>
    </message>
    <message>
        <source>Do you want to process existing files with the new folder profile?</source>
        <translation>Sollen vorhandene Dateien mit dem neuen Profil des Ordners verarbeitet werden?</translation>
    </message>
    <message>
        <source>Drag to order:</source>
        <translation>Zum Ordnen ziehen:</translation>
    </message>
    <message>
        <source>Edit a Profile</source>
        <translation>Ein Profil bearbeiten</translation>
    </message>
    <message>
        <source>Edit...</source>
        <translation>Bearbeiten ...</translation>
    </message>
    <message>
        <source>Eight folders up</source>
        <translation>Acht Ordner darüber</translation>
    </message>
    <message>
        <source>Eighth</source>
        <translation>Achtel</translation>
    </message>
    <message>
        <source>Embedded in source file</source>
        <translation>In der Quelldatei enthalten</translation>
    </message>
    <message>
        <source>Enable</source>
        <translation>Aktiv</translation>
    </message>
    <message>
        <source>Encoding Profiles:</source>
        <translation>Kodierprofile:</translation>
    </message>
    <message>
        <source>Error occurred</source>
        <translation>Fehler</translation>
    </message>
    <message>
        <source>Error!!!</source>
        <translation>Fehler!!!</translation>
    </message>
    <message>
        <source>Exit without saving profile ?</source>
        <translation>Beenden, ohne das Profil zu speichern?</translation>
    </message>
    <message>
        <source>Five folders up</source>
        <translation>Fünf Ordner darüber</translation>
    </message>
    <message>
        <source>Folder</source>
        <translation>Ordner</translation>
    </message>
    <message>
        <source>Four folders up</source>
        <translation>Vier Ordner darüber</translation>
    </message>
    <message>
        <source>Frame Count for DPX column:</source>
        <translation>Bildzähler für die Spalte „DPX“:</translation>
    </message>
    <message>
        <source>From file name</source>
        <translation>Aus dem Dateinamen</translation>
    </message>
    <message>
        <source>Full</source>
        <translation>Voll</translation>
    </message>
    <message>
        <source>Half (Better Quality)</source>
        <translation>Halb (bessere Qualität)</translation>
    </message>
    <message>
        <source>Half (Good Quality)</source>
        <translation>Halb (gute Qualität)</translation>
    </message>
    <message>
        <source>Highest Quality</source>
        <translation>Höchste Qualität</translation>
    </message>
    <message>
        <source>If unable to consolidate then transcode</source>
        <translation>Transkodieren, wenn Konsolidieren nicht möglich ist</translation>
    </message>
    <message>
        <source>If you delete the profile it will be replaced with the Default profile for all related KRX folders 
 and these folders will be disabled.</source>
        <translation>Wird das Profil gelöscht, so tritt in allen betroffenen KRX-Ordnern das Standardprofil an seine Stelle,
 und diese Ordner werden deaktiviert.</translation>
    </message>
    <message>
        <source>KRX_CONNECT_PORT is set to %1, which is no port number</source>
        <translation>KRX_CONNECT_PORT steht auf %1; das ist keine Portnummer</translation>
    </message>
    <message>
        <source>Lets You Enter a New Bin Name</source>
        <translation>Name der neuen Bin eingeben</translation>
    </message>
    <message>
        <source>Link Options</source>
        <translation>Verknüpfungsoptionen</translation>
    </message>
    <message>
        <source>Link Options:</source>
        <translation>Verknüpfungsoptionen:</translation>
    </message>
    <message>
        <source>Link Preferences</source>
        <translation>Verknüpfungseinstellungen</translation>
    </message>
    <message>
        <source>Link Settings &amp; Actions</source>
        <translation>Verknüpfung und Aktionen</translation>
    </message>
    <message>
        <source>Link using</source>
        <translation>Verknüpfen mit</translation>
    </message>
    <message>
        <source>Link using:</source>
        <translation>Plug-in:</translation>
    </message>
    <message>
        <source>Linked Source Scaling/Quality:</source>
        <translation>Skalierung/Qualität der Quelle:</translation>
    </message>
    <message>
        <source>Linking to clips</source>
        <translation>Clips werden verknüpft</translation>
    </message>
    <message>
        <source>Linking to files/volumes will:</source>
        <translation>Beim Verknüpfen mit Dateien/Volumes:</translation>
    </message>
    <message>
        <source>List of KRX Folders</source>
        <translation>Liste der KRX-Ordner</translation>
    </message>
    <message>
        <source>MP2  (MXF OP1a)</source>
        <translation>MP2  (MXF OP1a)</translation>
    </message>
    <message>
        <source>MP2  (Velo OP-Atom)</source>
        <translation>MP2  (Velo OP-Atom)</translation>
    </message>
    <message>
        <source>Mono</source>
        <translation>Mono</translation>
    </message>
    <message>
        <source>Most Compressed</source>
        <translation>Höchste Kompression</translation>
    </message>
    <message>
        <source>Move Action Down</source>
        <translation>Aktion nach unten</translation>
    </message>
    <message>
        <source>Move Action Up</source>
        <translation>Aktion nach oben</translation>
    </message>
    <message>
        <source>Multichannel Audio</source>
        <translation>Mehrkanalton</translation>
    </message>
    <message>
        <source>Multichannel Audio :</source>
        <translation>Mehrkanalton :</translation>
    </message>
    <message>
        <source>New Bin Name</source>
        <translation>Name der neuen Bin</translation>
    </message>
    <message>
        <source>New clips available</source>
        <translation>Neue Clips verfügbar</translation>
    </message>
    <message>
        <source>No new clips available</source>
        <translation>Keine neuen Clips verfügbar</translation>
    </message>
    <message>
        <source>The port of the service is held by the user %1, whose service is not asked</source>
        <translation>Den Port des Dienstes hat der Benutzer %1, dessen Dienst nicht gefragt wird</translation>
    </message>
    <message>
        <source>It cannot be found out whose service answers at %1, so it is not asked</source>
        <translation>Wessen Dienst unter %1 antwortet, ist nicht zu erfahren, darum wird er nicht gefragt</translation>
    </message>
    <message>
        <source>No service answers at %1</source>
        <translation>Unter %1 antwortet kein Dienst</translation>
    </message>
    <message>
        <source>None</source>
        <translation>Keine</translation>
    </message>
    <message>
        <source>OPH Component Factory not found</source>
        <translation>OPH-Komponentenfabrik nicht gefunden</translation>
    </message>
    <message>
        <source>OPH REST client not found</source>
        <translation>OPH-REST-Client nicht gefunden</translation>
    </message>
    <message>
        <source>One folder up</source>
        <translation>Ein Ordner darüber</translation>
    </message>
    <message>
        <source>Only a single Consolidate action can be added</source>
        <translation>Es kann nur eine Aktion „Konsolidieren“ hinzugefügt werden</translation>
    </message>
    <message>
        <source>Only services of this machine may be asked, not %1</source>
        <translation>Nur Dienste dieses Rechners dürfen gefragt werden, nicht %1</translation>
    </message>
    <message>
        <source>PCM  (MXF OP1a)</source>
        <translation>PCM  (MXF OP1a)</translation>
    </message>
    <message>
        <source>PCM  (Velo OP-Atom)</source>
        <translation>PCM  (Velo OP-Atom)</translation>
    </message>
    <message>
        <source>Path</source>
        <translation>Pfad</translation>
    </message>
    <message>
        <source>Plug-in Used When Linking</source>
        <translation>Plug-in, mit dem verknüpft wird</translation>
    </message>
    <message>
        <source>Plugin</source>
        <translation>Plug-in</translation>
    </message>
    <message>
        <source>Profile</source>
        <translation>Profil</translation>
    </message>
    <message>
        <source>Profile : %1 already exists</source>
        <translation>Profil: %1 gibt es bereits</translation>
    </message>
    <message>
        <source>Profile Editor</source>
        <translation>Profil-Editor</translation>
    </message>
    <message>
        <source>Profile name:</source>
        <translation>Profilname:</translation>
    </message>
    <message>
        <source>Profile to Edit</source>
        <translation>Zu bearbeitendes Profil</translation>
    </message>
    <message>
        <source>Profile:</source>
        <translation>Profil:</translation>
    </message>
    <message>
        <source>Project</source>
        <translation>Projekt</translation>
    </message>
    <message>
        <source>Project Type:</source>
        <translation>Projekttyp:</translation>
    </message>
    <message>
        <source>Quality</source>
        <translation>Qualität</translation>
    </message>
    <message>
        <source>Quarter</source>
        <translation>Viertel</translation>
    </message>
    <message>
        <source>REST client reported that DELETE method failed</source>
        <translation>Der REST-Client meldet: Methode DELETE fehlgeschlagen</translation>
    </message>
    <message>
        <source>REST client reported that GET method failed</source>
        <translation>Der REST-Client meldet: Methode GET fehlgeschlagen</translation>
    </message>
    <message>
        <source>REST client reported that POST method failed</source>
        <translation>Der REST-Client meldet: Methode POST fehlgeschlagen</translation>
    </message>
    <message>
        <source>REST client reported that PUT method failed</source>
        <translation>Der REST-Client meldet: Methode PUT fehlgeschlagen</translation>
    </message>
    <message>
        <source>RGB 709</source>
        <translation>RGB 709</translation>
    </message>
    <message>
        <source>Raster:</source>
        <translation>Raster:</translation>
    </message>
    <message>
        <source>Reel name for Labroll column based on:</source>
        <translation>Bandname für die Spalte „Labroll“ nach:</translation>
    </message>
    <message>
        <source>Relink selected clips to target drive before skipping</source>
        <translation>Ausgewählte Clips vor dem Überspringen mit dem Ziellaufwerk verknüpfen</translation>
    </message>
    <message>
        <source>Remove Selected Action</source>
        <translation>Ausgewählte Aktion entfernen</translation>
    </message>
    <message>
        <source>Remove Selected Folder from KRX Folder List</source>
        <translation>Ausgewählten Ordner aus der Liste der KRX-Ordner entfernen</translation>
    </message>
    <message>
        <source>SETTINGS:</source>
        <translation>EINSTELLUNGEN:</translation>
    </message>
    <message>
        <source>Save</source>
        <translation>Speichern</translation>
    </message>
    <message>
        <source>Save Profile As</source>
        <translation>Profil speichern unter</translation>
    </message>
    <message>
        <source>Select Folder</source>
        <translation>Ordner auswählen</translation>
    </message>
    <message>
        <source>Select This Option to Convert the Bit Depth to 16 Bit or 24 Bit</source>
        <translation>Mit dieser Option wird die Bittiefe auf 16 Bit oder 24 Bit konvertiert</translation>
    </message>
    <message>
        <source>Select This Option to Convert the Sample Rate to 32 kHz, 44.1kHz, or 48 kHz</source>
        <translation>Mit dieser Option wird die Abtastrate auf 32 kHz, 44,1 kHz oder 48 kHz konvertiert</translation>
    </message>
    <message>
        <source>Select either OMF (WAVE), OMF(AIFF-C), or MXF (PCM) Audio Format</source>
        <translation>Audioformat OMF (WAVE), OMF (AIFF-C) oder MXF (PCM) wählen</translation>
    </message>
    <message>
        <source>Select the Destination Drives for the Consolidated Media</source>
        <translation>Ziellaufwerke für die konsolidierten Medien wählen</translation>
    </message>
    <message>
        <source>Select to Bypass Files if Some Related Media Files are Already Located on the Target Drives</source>
        <translation>Dateien überspringen, deren zugehörige Mediendateien teilweise schon auf den Ziellaufwerken liegen</translation>
    </message>
    <message>
        <source>Select to Ensure That all Selected Clips are Linked to Media on the Target Drive</source>
        <translation>Sicherstellen, dass alle ausgewählten Clips mit Medien auf dem Ziellaufwerk verknüpft sind</translation>
    </message>
    <message>
        <source>Set</source>
        <translation>…</translation>
    </message>
    <message>
        <source>Set the Audio Project Rate for Broadcast Wave Files</source>
        <translation>Audio-Projektrate für Broadcast-Wave-Dateien festlegen</translation>
    </message>
    <message>
        <source>Seven folders up</source>
        <translation>Sieben Ordner darüber</translation>
    </message>
    <message>
        <source>Six folders up</source>
        <translation>Sechs Ordner darüber</translation>
    </message>
    <message>
        <source>Sixteenth</source>
        <translation>Sechzehntel</translation>
    </message>
    <message>
        <source>Skip Media Already On Target Drive</source>
        <translation>Medien überspringen, die schon auf dem Ziellaufwerk sind</translation>
    </message>
    <message>
        <source>Source Quality (Debayer):</source>
        <translation>Qualität der Quelle (Debayer):</translation>
    </message>
    <message>
        <source>Source file name</source>
        <translation>Name der Quelldatei</translation>
    </message>
    <message>
        <source>Source folder name</source>
        <translation>Name des Quellordners</translation>
    </message>
    <message>
        <source>Specify bin name</source>
        <translation>Bin-Namen angeben</translation>
    </message>
    <message>
        <source>Start frame count at 0</source>
        <translation>Bildzählung bei 0 beginnen</translation>
    </message>
    <message>
        <source>Start frame count at 1</source>
        <translation>Bildzählung bei 1 beginnen</translation>
    </message>
    <message>
        <source>Still Image FPS:</source>
        <translation>Bildrate für Standbilder:</translation>
    </message>
    <message>
        <source>Summary</source>
        <translation>Zusammenfassung</translation>
    </message>
    <message>
        <source>Summary of Selected Folder&apos;s Profile</source>
        <translation>Zusammenfassung des Profils des ausgewählten Ordners</translation>
    </message>
    <message>
        <source>Target Audio Bit Depth:</source>
        <translation>Ziel-Bittiefe:</translation>
    </message>
    <message>
        <source>Target Audio Sample Rate:</source>
        <translation>Ziel-Abtastrate:</translation>
    </message>
    <message>
        <source>Target Audio Wrapper Format:</source>
        <translation>Ziel-Containerformat:</translation>
    </message>
    <message>
        <source>Target Bin</source>
        <translation>Ziel-Bin</translation>
    </message>
    <message>
        <source>The address %1 holds characters that no address may hold</source>
        <translation>Die Adresse %1 enthält Zeichen, die in keiner Adresse stehen dürfen</translation>
    </message>
    <message>
        <source>The address %1 is not a proper HTTP address</source>
        <translation>Die Adresse %1 ist keine gültige HTTP-Adresse</translation>
    </message>
    <message>
        <source>The answer of the service could not be read</source>
        <translation>Die Antwort des Dienstes konnte nicht gelesen werden</translation>
    </message>
    <message>
        <source>The answer of the service is not proper HTTP</source>
        <translation>Die Antwort des Dienstes ist kein gültiges HTTP</translation>
    </message>
    <message>
        <source>The answer of the service is too large</source>
        <translation>Die Antwort des Dienstes ist zu groß</translation>
    </message>
    <message>
        <source>The bin name can&apos;t be saved: it consists of blanks only or contains characters that a profile can&apos;t hold.</source>
        <translation>Der Bin-Name kann nicht gespeichert werden: Er besteht nur aus Leerzeichen oder enthält Zeichen, die ein Profil nicht aufnehmen kann.</translation>
    </message>
    <message>
        <source>The connection to the service broke off before the answer was complete</source>
        <translation>Die Verbindung zum Dienst brach ab, bevor die Antwort vollständig war</translation>
    </message>
    <message>
        <source>The exchange with the service failed: %1</source>
        <translation>Der Austausch mit dem Dienst ist fehlgeschlagen: %1</translation>
    </message>
    <message>
        <source>The headers of the service&apos;s answer are too large</source>
        <translation>Die Kopfzeilen der Antwort des Dienstes sind zu groß</translation>
    </message>
    <message>
        <source>The link setting &quot;%1&quot; can&apos;t be saved: it contains characters that a profile can&apos;t hold.</source>
        <translation>Die Verknüpfungseinstellung „%1“ kann nicht gespeichert werden: Sie enthält Zeichen, die ein Profil nicht aufnehmen kann.</translation>
    </message>
    <message>
        <source>The name or path holds characters that cannot be stored</source>
        <translation>Der Name oder Pfad enthält Zeichen, die nicht gespeichert werden können</translation>
    </message>
    <message>
        <source>The profile [%1] you are trying to delete is associated with existing KRX folders:
</source>
        <translation>Das Profil [%1], das gelöscht werden soll, gehört zu vorhandenen KRX-Ordnern:
</translation>
    </message>
    <message>
        <source>The program ended before the service answered</source>
        <translation>Das Programm endete, bevor der Dienst geantwortet hatte</translation>
    </message>
    <message>
        <source>The service answered %1</source>
        <translation>Der Dienst antwortete %1</translation>
    </message>
    <message>
        <source>The service did not answer in time</source>
        <translation>Der Dienst hat nicht rechtzeitig geantwortet</translation>
    </message>
    <message>
        <source>There is not enough memory for the answer of the service</source>
        <translation>Für die Antwort des Dienstes reicht der Speicher nicht</translation>
    </message>
    <message>
        <source>This profile was created in a different project type.The following transcode options have been reset to their defaults: Project Type, Codec.Only newly saved profiles will have this change.
</source>
        <translation>Dieses Profil wurde in einem anderen Projekttyp angelegt. Die folgenden Transkodieroptionen wurden auf ihre Vorgaben zurückgesetzt: Projekttyp, Codec. Nur neu gespeicherte Profile enthalten diese Änderung.
</translation>
    </message>
    <message>
        <source>Three folders up</source>
        <translation>Drei Ordner darüber</translation>
    </message>
    <message>
        <source>Timecode for Start column:</source>
        <translation>Timecode für die Spalte „Start“:</translation>
    </message>
    <message>
        <source>Too many requests are waiting for the service</source>
        <translation>Zu viele Anfragen warten auf den Dienst</translation>
    </message>
    <message>
        <source>Transcode</source>
        <translation>Transkodieren</translation>
    </message>
    <message>
        <source>Transcode Video Resolution:</source>
        <translation>Videoauflösung beim Transkodieren:</translation>
    </message>
    <message>
        <source>Two folders up</source>
        <translation>Zwei Ordner darüber</translation>
    </message>
    <message>
        <source>Unable to add a folder with the same path more than once.
Folder with path %1 already exists in this list.</source>
        <translation>Ein Ordner kann nicht mehrmals mit demselben Pfad hinzugefügt werden.
Ein Ordner mit dem Pfad %1 steht bereits in dieser Liste.</translation>
    </message>
    <message>
        <source>Unknown</source>
        <translation>Unbekannt</translation>
    </message>
    <message>
        <source>Unknown error: Service response HTTP code %1</source>
        <translation>Unbekannter Fehler: Der Dienst antwortete mit dem HTTP-Code %1</translation>
    </message>
    <message>
        <source>Unknown grouping: %1</source>
        <translation>Unbekannte Gruppierung: %1</translation>
    </message>
    <message>
        <source>Untitled</source>
        <translation>Ohne Titel</translation>
    </message>
    <message>
        <source>Use Active Bin</source>
        <translation>Aktive Bin verwenden</translation>
    </message>
    <message>
        <source>Use the Currently Active Bin to Store Linked Clips</source>
        <translation>Verknüpfte Clips in der gerade aktiven Bin ablegen</translation>
    </message>
    <message>
        <source>Uses the Name or Label of the Volume</source>
        <translation>Verwendet den Namen des Volumes</translation>
    </message>
    <message>
        <source>Uses the Project Name for the Bin</source>
        <translation>Verwendet den Projektnamen für die Bin</translation>
    </message>
    <message>
        <source>Velo Editor Services are not Running. Please start Services from the Velo Editor Services Manager...</source>
        <translation>Die Velo Editor Services laufen nicht. Bitte die Dienste im Velo Editor Services Manager starten ...</translation>
    </message>
    <message>
        <source>Video</source>
        <translation>Video</translation>
    </message>
    <message>
        <source>Video Drive</source>
        <translation>Videolaufwerk</translation>
    </message>
    <message>
        <source>Video Volume : %1   Audio Volume : %2</source>
        <translation>Video-Volume : %1   Audio-Volume : %2</translation>
    </message>
    <message>
        <source>Volume Mounting</source>
        <translation>Volumes einbinden</translation>
    </message>
    <message>
        <source>Volume Name</source>
        <translation>Volume-Name</translation>
    </message>
    <message>
        <source>What&apos;s This?</source>
        <translation>Was ist das?</translation>
    </message>
    <message>
        <source>When mounting previously mounted volumes do not check for modification to the volume</source>
        <translation>Schon früher eingebundene Volumes beim Einbinden nicht auf Änderungen prüfen</translation>
    </message>
    <message>
        <source>YCbCr 601</source>
        <translation>YCbCr 601</translation>
    </message>
    <message>
        <source>YCbCr 709</source>
        <translation>YCbCr 709</translation>
    </message>
    <message>
        <source>ZOR Metadata</source>
        <translation>ZOR-Metadaten</translation>
    </message>
</context>
</TS>
