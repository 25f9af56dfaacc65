<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de" sourcelanguage="en">
<context>
    <name>KRX</name>
    <message>
        <source>16 Bit</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>24 Bit</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>32 Bit Float</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>8 Bit</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>ACTIONS:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Acquire</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Acquiring clips from KRX... %1 of %2</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Active  Bin</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Add an Action</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Apply Reformatting option (compatibility mode)</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Apply color transformations (compatibility mode)</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Are you sure you want to delete [%1] profile?</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Assign Audio Tracks to Specific Channels in Your Linked Media</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Audio</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Audio Drive</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Audio Start-Time Option (for Broadcast Wave)</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Audio timecode rate</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Audio timecode rate:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Audio:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Auto Relink when complete</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Auto copy to</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Autodetect Plug-in</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Automatically Relink Files When Copy is Completed</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Bins</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Bins:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Can&apos;t add folder %1
%2</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Can&apos;t assign %1 profile to this folder. Folder and Profile [Copy To] action have the same path</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Can&apos;t create new profile!
%1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Can&apos;t delete %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Can&apos;t delete folder %1!
%2</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Can&apos;t delete selected profile!
%1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Check in to Ledgerhouse</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Checkin to Ledgerhouse</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Checks in assets to Ledgerhouse</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Choose Action</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Choose the Location Where You Want the files Copied to</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Codec:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Color Space:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Consolidate</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Convert Audio Bit Depth</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Convert Audio Bit Depth : </source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Convert Audio Format</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Convert Audio Sample Rate</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Convert Audio Sample Rate : </source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Convert timecode to frames</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Copy %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Copy To:  %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Copy to Folder</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Copy to Folder action : Output folder not set !</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Copy to Folder action : The path of the output folder has characters that cannot be stored !</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Create New Bin</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Create New Bin to Store Linked Clips</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Create a new Bin : </source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Default Bin Name</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Default Bin Naming Convention</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Default FPS:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Default Name</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Default Profile</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Delete Profile</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Do you want to process existing files with the new folder profile?</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Drag to order:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Edit...</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Eight folders up</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Eighth</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Embedded in source file</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Enable</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Encoding Profiles:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Error occurred</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Error!!!</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Exit without saving profile ?</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Five folders up</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Folder</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Four folders up</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Frame Count for DPX column:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>From file name</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Full</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Half (Better Quality)</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Half (Good Quality)</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Highest Quality</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>If unable to consolidate then transcode</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>If you delete the profile it will be replaced with the Default profile for all related KRX folders 
 and these folders will be disabled.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>KRX_CONNECT_PORT is set to %1, which is no port number</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Lets You Enter a New Bin Name</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Link Options</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Link Options:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Link Preferences</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Link Settings &amp; Actions</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Link using</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Link using:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Linked Source Scaling/Quality:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Linking to clips</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Linking to files/volumes will:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>MP2  (MXF OP1a)</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>MP2  (Velo OP-Atom)</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Mono</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Most Compressed</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Move Action Down</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Move Action Up</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Multichannel Audio</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Multichannel Audio :</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>New Bin Name</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>New clips available</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>No new clips available</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>No service answers at %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>None</source>
        <translation>Keine</translation>
    </message>
    <message>
        <source>OPH Component Factory not found</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>OPH REST client not found</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>One folder up</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Only a single Consolidate action can be added</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Only services of this machine may be asked, not %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>PCM  (MXF OP1a)</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>PCM  (Velo OP-Atom)</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Path</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Plug-in Used When Linking</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Plugin</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Profile</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Profile : %1 already exists</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Profile Editor</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Profile name:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Profile to Edit</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Project</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Project Type:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Quality</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Quarter</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>REST client reported that DELETE method failed</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>REST client reported that GET method failed</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>REST client reported that POST method failed</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>REST client reported that PUT method failed</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>RGB 709</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Raster:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Reel name for Labroll column based on:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Relink selected clips to target drive before skipping</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Remove Selected Action</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>SETTINGS:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Save</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Save Profile As</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Select Folder</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Select This Option to Convert the Bit Depth to 16 Bit or 24 Bit</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Select This Option to Convert the Sample Rate to 32 kHz, 44.1kHz, or 48 kHz</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Select either OMF (WAVE), OMF(AIFF-C), or MXF (PCM) Audio Format</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Select the Destination Drives for the Consolidated Media</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Select to Bypass Files if Some Related Media Files are Already Located on the Target Drives</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Select to Ensure That all Selected Clips are Linked to Media on the Target Drive</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Set</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Set the Audio Project Rate for Broadcast Wave Files</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Seven folders up</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Six folders up</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Sixteenth</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Skip Media Already On Target Drive</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Source Quality (Debayer):</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Source file name</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Source folder name</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Specify bin name</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Start frame count at 0</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Start frame count at 1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Still Image FPS:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Summary</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Summary of Selected Folder&apos;s Profile</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Target Audio Bit Depth:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Target Audio Sample Rate:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Target Audio Wrapper Format:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Target Bin</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The address %1 holds characters that no address may hold</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The address %1 is not a proper HTTP address</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The answer of the service could not be read</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The answer of the service is not proper HTTP</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The answer of the service is too large</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The bin name can&apos;t be saved: it consists of blanks only or contains characters that a profile can&apos;t hold.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The connection to the service broke off before the answer was complete</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The exchange with the service failed: %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The headers of the service&apos;s answer are too large</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The link setting &quot;%1&quot; can&apos;t be saved: it contains characters that a profile can&apos;t hold.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The name or path holds characters that cannot be stored</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The profile [%1] you are trying to delete is associated with existing KRX folders:
</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The program ended before the service answered</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The service answered %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>The service did not answer in time</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>There is not enough memory for the answer of the service</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>This profile was created in a different project type.The following transcode options have been reset to their defaults: Project Type, Codec.Only newly saved profiles will have this change.
</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Three folders up</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Timecode for Start column:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Too many requests are waiting for the service</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Transcode</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Transcode Video Resolution:</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Two folders up</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Unable to add a folder with the same path more than once.
Folder with path %1 already exists in this list.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Unknown</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Unknown error: Service response HTTP code %1</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Unknown grouping: %1</source>
        <translation>Unbekannte Gruppierung: %1</translation>
    </message>
    <message>
        <source>Untitled</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Use Active Bin</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Use the Currently Active Bin to Store Linked Clips</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Uses the Name or Label of the Volume</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Uses the Project Name for the Bin</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Video</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Video Drive</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Video Volume : %1   Audio Volume : %2</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Volume Mounting</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Volume Name</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>What&apos;s This?</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>When mounting previously mounted volumes do not check for modification to the volume</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>YCbCr 601</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>YCbCr 709</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>ZOR Metadata</source>
        <translation type="unfinished"></translation>
    </message>
</context>
</TS>
