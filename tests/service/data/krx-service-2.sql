PRAGMA foreign_keys=OFF;
BEGIN TRANSACTION;
CREATE TABLE profiles(
    seq INTEGER PRIMARY KEY AUTOINCREMENT,
    id TEXT NOT NULL UNIQUE,
    name TEXT NOT NULL UNIQUE,
    document TEXT NOT NULL);
INSERT INTO profiles VALUES(1,'edad65fc-ec6e-48d6-b7e5-2e3eda7497c8','Default Profile',replace('<profile>\n <version>200</version>\n <profileDetail>\n  <profileName>Default Profile</profileName>\n  <profileGUID>edad65fc-ec6e-48d6-b7e5-2e3eda7497c8</profileGUID>\n  <profileTag>#krx</profileTag>\n  <profileShortDescription>Links new clips where they are</profileShortDescription>\n  <profileCreatedTimestamp>2026-11-21T20:01:36</profileCreatedTimestamp>\n  <profileCreatorApplication>FrameStitcher</profileCreatorApplication>\n  <profileType>EDITOR.USERSPECIFIEDFOLDER</profileType>\n </profileDetail>\n <profileSettings>\n  <binDetail>\n   <binSelectionMethod>CREATENEW</binSelectionMethod>\n   <binNamingMethod>VOLUME</binNamingMethod>\n  </binDetail>\n  <linkDetail>\n   <xelPreferredPluginDetail>\n    <xelPluginName>Autodetect Plug-in</xelPluginName>\n    <xelPluginGUID>00000000-0000-0000-0000-000000000000</xelPluginGUID>\n   </xelPreferredPluginDetail>\n   <multichannelAudio>None</multichannelAudio>\n   <xelAudioStartTimeOption>25</xelAudioStartTimeOption>\n   <xelStillImageFPS>25</xelStillImageFPS>\n  </linkDetail>\n  <zorMetadata>\n   <reelNamingMethod>FILENAME</reelNamingMethod>\n   <reelFolderLevel>1</reelFolderLevel>\n   <frameCountingMethod>ZERO</frameCountingMethod>\n   <timecodeMethod>EMBEDDED</timecodeMethod>\n   <defaultFPS>25</defaultFPS>\n  </zorMetadata>\n </profileSettings>\n <processDefinition>\n  <package>\n   <activities />\n  </package>\n </processDefinition>\n</profile>\n','\n',char(10)));
INSERT INTO profiles VALUES(2,'16a6ce0e-5322-4668-9680-cb547b1c4b0e','Copying',replace('<profile>\n <profileDetail>\n  <profileName>Copying</profileName>\n  <profileGUID>16a6ce0e-5322-4668-9680-cb547b1c4b0e</profileGUID>\n </profileDetail>\n <processDefinition>\n  <package>\n   <activities>\n    <activity id="copy" name="Copy 1">\n     <destinationDetail>\n      <filesystemPath>@ROOT@/to</filesystemPath>\n      <relinkAfterCopy>true</relinkAfterCopy>\n     </destinationDetail>\n    </activity>\n   </activities>\n  </package>\n </processDefinition>\n</profile>\n','\n',char(10)));
INSERT INTO profiles VALUES(3,'5314be5a-02d1-46be-88ac-e032a77ed297','Failing',replace('<profile>\n <profileDetail>\n  <profileName>Failing</profileName>\n  <profileGUID>5314be5a-02d1-46be-88ac-e032a77ed297</profileGUID>\n </profileDetail>\n <processDefinition>\n  <package>\n   <activities>\n    <activity id="transcode" name="Transcode 1" />\n   </activities>\n  </package>\n </processDefinition>\n</profile>\n','\n',char(10)));
CREATE TABLE folders(
    seq INTEGER PRIMARY KEY AUTOINCREMENT,
    id TEXT NOT NULL UNIQUE,
    path TEXT NOT NULL,
    canonical TEXT NOT NULL UNIQUE,
    profile TEXT NOT NULL,
    enabled INTEGER NOT NULL);
INSERT INTO folders VALUES(1,'f000001','@ROOT@/watch','@ROOT@/watch','edad65fc-ec6e-48d6-b7e5-2e3eda7497c8',1);
INSERT INTO folders VALUES(2,'f000002','@ROOT@/watch2','@ROOT@/watch2','16a6ce0e-5322-4668-9680-cb547b1c4b0e',1);
INSERT INTO folders VALUES(3,'f000003','@ROOT@/watch3','@ROOT@/watch3','5314be5a-02d1-46be-88ac-e032a77ed297',1);
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
INSERT INTO jobs VALUES(2,'j000002',0,'@ROOT@/watch3/e.wav','5314be5a-02d1-46be-88ac-e032a77ed297','f000003','watch3','FAILED',0,'The action "transcode" is not available in this version of the service');
INSERT INTO jobs VALUES(3,'j000003',1,'@ROOT@/watch/b.wav','edad65fc-ec6e-48d6-b7e5-2e3eda7497c8','manual','Manual jobs','COMPLETED',100,'');
CREATE TABLE errors(
    seq INTEGER PRIMARY KEY AUTOINCREMENT,
    text TEXT NOT NULL UNIQUE);
INSERT INTO errors VALUES(1,'The file @ROOT@/watch/c.mov is not offered: it is no media file');
INSERT INTO errors VALUES(2,'The action "transcode" is not available in this version of the service');
CREATE TABLE clips(
    id INTEGER PRIMARY KEY AUTOINCREMENT,
    guid TEXT NOT NULL UNIQUE,
    owner TEXT NOT NULL,
    path TEXT NOT NULL,
    size INTEGER NOT NULL,
    modified INTEGER NOT NULL,
    changed INTEGER NOT NULL DEFAULT 0,
    inode INTEGER NOT NULL DEFAULT 0,
    checksum TEXT NOT NULL,
    state TEXT NOT NULL,
    profile TEXT NOT NULL DEFAULT '',
    job TEXT NOT NULL DEFAULT '',
    done INTEGER NOT NULL DEFAULT 0,
    linked_path TEXT NOT NULL DEFAULT '',
    linked_size INTEGER NOT NULL DEFAULT 0,
    linked_modified INTEGER NOT NULL DEFAULT 0,
    linked_checksum TEXT NOT NULL DEFAULT '',
    output TEXT NOT NULL DEFAULT '',
    scratch TEXT NOT NULL DEFAULT '',
    gone_since INTEGER NOT NULL DEFAULT 0,
    UNIQUE(owner, path, checksum));
INSERT INTO clips VALUES(1,'c29b171d-2cd4-4fe8-a0c5-520e46f41000','f000001','@ROOT@/watch/c.mov',9,1795291297426142690,1795291297426142690,11640861,'xxh3-64:299a393e8e85f092','rejected','','',0,'',0,0,'','','',0);
INSERT INTO clips VALUES(2,'ec218ffa-1cab-4274-9edc-bc9dba24bed2','f000001','@ROOT@/watch/a.wav',8864,1795291297342142694,1795291297358142693,11640850,'xxh3-64:71763554eef0cbef','taken','edad65fc-ec6e-48d6-b7e5-2e3eda7497c8','',0,'',0,0,'','2-a.wav.xel','',0);
INSERT INTO clips VALUES(3,'950a1dbd-dd38-4348-9a5a-40c5ae913399','f000002','@ROOT@/watch2/d.wav',8864,1795291297487822071,1795291297490142687,11640862,'xxh3-64:886e530368b40621','offered','16a6ce0e-5322-4668-9680-cb547b1c4b0e','j000001',1,'@ROOT@/to/d.wav',8864,1795291297487822071,'xxh3-64:886e530368b40621','3-d.wav.xel','',0);
INSERT INTO clips VALUES(4,'d01924a1-1a76-474e-88fe-f68658af33e1','f000003','@ROOT@/watch3/e.wav',8864,1795291297555460936,1795291297558142684,11640863,'xxh3-64:6305bbaaa2d34c18','failed','5314be5a-02d1-46be-88ac-e032a77ed297','j000002',0,'',0,0,'','4-e.wav.xel','',0);
INSERT INTO clips VALUES(5,'ed768887-06a0-4567-8a26-e62878393633','f000001','@ROOT@/watch/b.wav',8864,1795291297418142690,1795291297422142690,11640860,'xxh3-64:39f2b3f36429acd0','offered','edad65fc-ec6e-48d6-b7e5-2e3eda7497c8','',0,'',0,0,'','5-b.wav.xel','',0);
INSERT INTO clips VALUES(6,'892dd877-6f7b-4a8c-bf1c-0bcfd825d16e','j000003','@ROOT@/watch/b.wav',8864,1795291297418142690,1795291297422142690,11640860,'xxh3-64:39f2b3f36429acd0','offered','edad65fc-ec6e-48d6-b7e5-2e3eda7497c8','',0,'',0,0,'','6-b.wav.xel','',0);
CREATE TABLE meta(name TEXT PRIMARY KEY, value INTEGER NOT NULL);
INSERT INTO meta VALUES('generation',9);
DELETE FROM sqlite_sequence;
INSERT INTO sqlite_sequence VALUES('clips',6);
INSERT INTO sqlite_sequence VALUES('profiles',3);
INSERT INTO sqlite_sequence VALUES('folders',3);
INSERT INTO sqlite_sequence VALUES('errors',2);
INSERT INTO sqlite_sequence VALUES('jobs',3);
CREATE INDEX clips_by_state ON clips(state);
CREATE TRIGGER folder_made AFTER INSERT ON folders
    BEGIN UPDATE meta SET value=value+1 WHERE name='generation'; END;
CREATE TRIGGER folder_changed AFTER UPDATE ON folders
    BEGIN UPDATE meta SET value=value+1 WHERE name='generation'; END;
CREATE TRIGGER folder_removed AFTER DELETE ON folders
    BEGIN UPDATE meta SET value=value+1 WHERE name='generation'; END;
CREATE TRIGGER profile_made AFTER INSERT ON profiles
    BEGIN UPDATE meta SET value=value+1 WHERE name='generation'; END;
CREATE TRIGGER profile_removed AFTER DELETE ON profiles
    BEGIN UPDATE meta SET value=value+1 WHERE name='generation'; END;
COMMIT;
PRAGMA user_version=2;
