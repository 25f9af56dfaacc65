PRAGMA foreign_keys=OFF;
BEGIN TRANSACTION;
CREATE TABLE profiles(
    seq INTEGER PRIMARY KEY AUTOINCREMENT,
    id TEXT NOT NULL UNIQUE,
    name TEXT NOT NULL UNIQUE,
    document TEXT NOT NULL);
INSERT INTO profiles VALUES(1,'48b9256f-50a7-4b51-adc9-9da6fa232bf9','Default Profile',replace('<profile>\n <version>200</version>\n <profileDetail>\n  <profileName>Default Profile</profileName>\n  <profileGUID>48b9256f-50a7-4b51-adc9-9da6fa232bf9</profileGUID>\n  <profileTag>#krx</profileTag>\n  <profileShortDescription>Links new clips where they are</profileShortDescription>\n  <profileCreatedTimestamp>2026-11-21T16:46:48</profileCreatedTimestamp>\n  <profileCreatorApplication>FrameStitcher</profileCreatorApplication>\n  <profileType>EDITOR.USERSPECIFIEDFOLDER</profileType>\n </profileDetail>\n <profileSettings>\n  <binDetail>\n   <binSelectionMethod>CREATENEW</binSelectionMethod>\n   <binNamingMethod>VOLUME</binNamingMethod>\n  </binDetail>\n  <linkDetail>\n   <xelPreferredPluginDetail>\n    <xelPluginName>Autodetect Plug-in</xelPluginName>\n    <xelPluginGUID>00000000-0000-0000-0000-000000000000</xelPluginGUID>\n   </xelPreferredPluginDetail>\n   <multichannelAudio>None</multichannelAudio>\n   <xelAudioStartTimeOption>25</xelAudioStartTimeOption>\n   <xelStillImageFPS>25</xelStillImageFPS>\n  </linkDetail>\n  <zorMetadata>\n   <reelNamingMethod>FILENAME</reelNamingMethod>\n   <reelFolderLevel>1</reelFolderLevel>\n   <frameCountingMethod>ZERO</frameCountingMethod>\n   <timecodeMethod>EMBEDDED</timecodeMethod>\n   <defaultFPS>25</defaultFPS>\n  </zorMetadata>\n </profileSettings>\n <processDefinition>\n  <package>\n   <activities />\n  </package>\n </processDefinition>\n</profile>\n','\n',char(10)));
INSERT INTO profiles VALUES(2,'8ed7a467-2ac6-44b1-96ef-d0f7af490cc2','Copying',replace('<profile>\n <profileDetail>\n  <profileName>Copying</profileName>\n  <profileGUID>8ed7a467-2ac6-44b1-96ef-d0f7af490cc2</profileGUID>\n </profileDetail>\n <processDefinition>\n  <package>\n   <activities>\n    <activity id="copy" name="Copy 1">\n     <destinationDetail>\n      <filesystemPath>@ROOT@/to</filesystemPath>\n      <relinkAfterCopy>true</relinkAfterCopy>\n     </destinationDetail>\n    </activity>\n   </activities>\n  </package>\n </processDefinition>\n</profile>\n','\n',char(10)));
INSERT INTO profiles VALUES(3,'dfc83a85-466c-4f34-888d-0f73e1ff6ae7','Failing',replace('<profile>\n <profileDetail>\n  <profileName>Failing</profileName>\n  <profileGUID>dfc83a85-466c-4f34-888d-0f73e1ff6ae7</profileGUID>\n </profileDetail>\n <processDefinition>\n  <package>\n   <activities>\n    <activity id="transcode" name="Transcode 1" />\n   </activities>\n  </package>\n </processDefinition>\n</profile>\n','\n',char(10)));
CREATE TABLE folders(
    seq INTEGER PRIMARY KEY AUTOINCREMENT,
    id TEXT NOT NULL UNIQUE,
    path TEXT NOT NULL,
    canonical TEXT NOT NULL UNIQUE,
    profile TEXT NOT NULL,
    enabled INTEGER NOT NULL);
INSERT INTO folders VALUES(1,'f000001','@ROOT@/watch','@ROOT@/watch','48b9256f-50a7-4b51-adc9-9da6fa232bf9',1);
INSERT INTO folders VALUES(2,'f000002','@ROOT@/watch2','@ROOT@/watch2','8ed7a467-2ac6-44b1-96ef-d0f7af490cc2',1);
INSERT INTO folders VALUES(3,'f000003','@ROOT@/watch3','@ROOT@/watch3','dfc83a85-466c-4f34-888d-0f73e1ff6ae7',1);
CREATE TABLE jobs(
    seq INTEGER PRIMARY KEY AUTOINCREMENT,
    id TEXT NOT NULL UNIQUE,
    manual INTEGER NOT NULL,
    path TEXT NOT NULL,
    profile TEXT NOT NULL,
    group_id TEXT NOT NULL,
    group_name TEXT NOT NULL,
    state TEXT NOT NULL,
    percent INTEGER NOT NULL DEFAULT 0,
    message TEXT NOT NULL DEFAULT '');
INSERT INTO jobs VALUES(2,'j000002',0,'@ROOT@/watch3/d.wav','dfc83a85-466c-4f34-888d-0f73e1ff6ae7','f000003','watch3','FAILED',0,'The action "transcode" is not available in this version of the service');
INSERT INTO jobs VALUES(3,'j000003',1,'@ROOT@/a.wav','48b9256f-50a7-4b51-adc9-9da6fa232bf9','manual','Manual jobs','COMPLETED',100,'');
CREATE TABLE files(
    id INTEGER PRIMARY KEY AUTOINCREMENT,
    owner TEXT NOT NULL,
    path TEXT NOT NULL,
    size INTEGER NOT NULL,
    modified INTEGER NOT NULL,
    checksum TEXT NOT NULL,
    state INTEGER NOT NULL,
    output TEXT NOT NULL DEFAULT '',
    scratch TEXT NOT NULL DEFAULT '');
INSERT INTO files VALUES(1,'f000001','@ROOT@/watch/a.wav',8898,1795279609017782683,'xxh3-64:e9ca1adf39291a87',2,'1-a.wav.xel','');
INSERT INTO files VALUES(2,'f000001','@ROOT@/watch/b.wav',8898,1795279609018157883,'xxh3-64:e9ca1adf39291a87',2,'2-b.wav.xel','');
INSERT INTO files VALUES(3,'f000002','@ROOT@/watch2/c.wav',8898,1795279609018487816,'xxh3-64:e9ca1adf39291a87',2,'3-c.wav.xel','');
INSERT INTO files VALUES(4,'f000003','@ROOT@/watch3/d.wav',8898,1795279609018805490,'xxh3-64:e9ca1adf39291a87',4,'','');
INSERT INTO files VALUES(5,'f000001','@ROOT@/watch/notes.txt',6,1795279609019159929,'xxh3-64:84258384f5284ea5',3,'','');
INSERT INTO files VALUES(6,'j000003','@ROOT@/a.wav',8898,1795279608768472017,'xxh3-64:e9ca1adf39291a87',2,'6-a.wav.xel','');
CREATE TABLE errors(
    seq INTEGER PRIMARY KEY AUTOINCREMENT,
    text TEXT NOT NULL UNIQUE);
INSERT INTO errors VALUES(1,'The action "transcode" is not available in this version of the service');
INSERT INTO errors VALUES(2,'The file @ROOT@/watch/notes.txt is not offered: it is no media file');
DELETE FROM sqlite_sequence;
INSERT INTO sqlite_sequence VALUES('profiles',3);
INSERT INTO sqlite_sequence VALUES('folders',3);
INSERT INTO sqlite_sequence VALUES('files',6);
INSERT INTO sqlite_sequence VALUES('jobs',3);
INSERT INTO sqlite_sequence VALUES('errors',2);
CREATE INDEX files_by_path ON files(owner, path);
CREATE INDEX files_by_state ON files(state);
COMMIT;
PRAGMA user_version=1;
