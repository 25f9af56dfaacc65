PRAGMA foreign_keys=OFF;
BEGIN TRANSACTION;
CREATE TABLE profiles(
    seq INTEGER PRIMARY KEY AUTOINCREMENT,
    id TEXT NOT NULL UNIQUE,
    name TEXT NOT NULL UNIQUE,
    document TEXT NOT NULL);
INSERT INTO profiles VALUES(1,'c6b93bfc-486f-43e4-baa1-b696c1259d78','Default Profile',replace('<profile>\n <version>200</version>\n <profileDetail>\n  <profileName>Default Profile</profileName>\n  <profileGUID>c6b93bfc-486f-43e4-baa1-b696c1259d78</profileGUID>\n  <profileTag>#krx</profileTag>\n  <profileShortDescription>Links new clips where they are</profileShortDescription>\n  <profileCreatedTimestamp>2026-11-21T23:20:11</profileCreatedTimestamp>\n  <profileCreatorApplication>FrameStitcher</profileCreatorApplication>\n  <profileType>EDITOR.USERSPECIFIEDFOLDER</profileType>\n </profileDetail>\n <profileSettings>\n  <binDetail>\n   <binSelectionMethod>CREATENEW</binSelectionMethod>\n   <binNamingMethod>VOLUME</binNamingMethod>\n  </binDetail>\n  <linkDetail>\n   <xelPreferredPluginDetail>\n    <xelPluginName>Autodetect Plug-in</xelPluginName>\n    <xelPluginGUID>00000000-0000-0000-0000-000000000000</xelPluginGUID>\n   </xelPreferredPluginDetail>\n   <multichannelAudio>None</multichannelAudio>\n   <xelAudioStartTimeOption>25</xelAudioStartTimeOption>\n   <xelStillImageFPS>25</xelStillImageFPS>\n  </linkDetail>\n  <zorMetadata>\n   <reelNamingMethod>FILENAME</reelNamingMethod>\n   <reelFolderLevel>1</reelFolderLevel>\n   <frameCountingMethod>ZERO</frameCountingMethod>\n   <timecodeMethod>EMBEDDED</timecodeMethod>\n   <defaultFPS>25</defaultFPS>\n  </zorMetadata>\n </profileSettings>\n <processDefinition>\n  <package>\n   <activities />\n  </package>\n </processDefinition>\n</profile>\n','\n',char(10)));
INSERT INTO profiles VALUES(2,'08f825fe-a66b-4870-bdee-f858725b1b24','Copying',replace('<profile>\n <profileDetail>\n  <profileName>Copying</profileName>\n  <profileGUID>08f825fe-a66b-4870-bdee-f858725b1b24</profileGUID>\n </profileDetail>\n <processDefinition>\n  <package>\n   <activities>\n    <activity id="copy" name="Copy 1">\n     <destinationDetail>\n      <filesystemPath>@ROOT@/to</filesystemPath>\n      <relinkAfterCopy>true</relinkAfterCopy>\n     </destinationDetail>\n    </activity>\n   </activities>\n  </package>\n </processDefinition>\n</profile>\n','\n',char(10)));
INSERT INTO profiles VALUES(3,'10a11c82-2f79-41db-97ed-71e06128bd91','Failing',replace('<profile>\n <profileDetail>\n  <profileName>Failing</profileName>\n  <profileGUID>10a11c82-2f79-41db-97ed-71e06128bd91</profileGUID>\n </profileDetail>\n <processDefinition>\n  <package>\n   <activities>\n    <activity id="copy" name="Copy 1">\n     <destinationDetail>\n      <filesystemPath>@ROOT@/to</filesystemPath>\n      <relinkAfterCopy>true</relinkAfterCopy>\n     </destinationDetail>\n    </activity>\n    <activity id="transcode" name="Transcode 1" />\n   </activities>\n  </package>\n </processDefinition>\n</profile>\n','\n',char(10)));
CREATE TABLE folders(
    seq INTEGER PRIMARY KEY AUTOINCREMENT,
    id TEXT NOT NULL UNIQUE,
    path TEXT NOT NULL,
    canonical TEXT NOT NULL UNIQUE,
    profile TEXT NOT NULL,
    enabled INTEGER NOT NULL);
INSERT INTO folders VALUES(1,'f000001','@ROOT@/watch','@ROOT@/watch','c6b93bfc-486f-43e4-baa1-b696c1259d78',1);
INSERT INTO folders VALUES(2,'f000002','@ROOT@/watch2','@ROOT@/watch2','08f825fe-a66b-4870-bdee-f858725b1b24',1);
INSERT INTO folders VALUES(3,'f000003','@ROOT@/watch3','@ROOT@/watch3','10a11c82-2f79-41db-97ed-71e06128bd91',1);
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
    message TEXT NOT NULL DEFAULT '', activity TEXT NOT NULL DEFAULT '');
INSERT INTO jobs VALUES(2,'j000002',0,'@ROOT@/watch3/e.wav','10a11c82-2f79-41db-97ed-71e06128bd91','f000003','watch3','FAILED',0,'Transcoding @ROOT@/to/e.wav failed: the codec "" () is not in the catalogue','Transcode 1');
INSERT INTO jobs VALUES(3,'j000003',1,'@ROOT@/watch/b.wav','c6b93bfc-486f-43e4-baa1-b696c1259d78','manual','Manual jobs','COMPLETED',100,'','');
CREATE TABLE errors(
    seq INTEGER PRIMARY KEY AUTOINCREMENT,
    text TEXT NOT NULL UNIQUE);
INSERT INTO errors VALUES(1,'The file @ROOT@/watch/c.mov is not offered: it is no media file');
INSERT INTO errors VALUES(2,'Transcoding @ROOT@/to/e.wav failed: the codec "" () is not in the catalogue');
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
    gone_since INTEGER NOT NULL DEFAULT 0, made TEXT NOT NULL DEFAULT '', activity TEXT NOT NULL DEFAULT '', reason TEXT NOT NULL DEFAULT '',
    UNIQUE(owner, path, checksum));
INSERT INTO clips VALUES(1,'07d6fe0e-d76c-41aa-b46d-8d8e8db2873f','f000001','@ROOT@/watch/c.mov',9,1795303211042880187,1795303211042880187,10969312,'xxh3-64:dc7308d44badb30d','rejected','','',0,'',0,0,'','','',0,'','','it is no media file');
INSERT INTO clips VALUES(2,'59af2778-42d6-4ee1-92e0-b974d0eb8196','f000001','@ROOT@/watch/a.wav',8864,1795303211044775015,1795303211044775015,10969314,'xxh3-64:104faeb114acfa6a','taken','c6b93bfc-486f-43e4-baa1-b696c1259d78','',0,'',0,0,'','2-a.wav.xel','',0,'','','');
INSERT INTO clips VALUES(3,'c0bc231d-7e37-4754-b372-d03ac9575dbe','f000001','@ROOT@/watch/b.wav',8864,1795303211475154173,1795303211475154173,10969316,'xxh3-64:184c05b01f746203','offered','c6b93bfc-486f-43e4-baa1-b696c1259d78','',0,'',0,0,'','3-b.wav.xel','',0,'','','');
INSERT INTO clips VALUES(4,'b5ade850-eff6-40c1-9825-fcb8bcd210aa','f000002','@ROOT@/watch2/d.wav',8864,1795303211673584715,1795303211673584715,10969152,'xxh3-64:76fbdb3b66dc80c1','offered','08f825fe-a66b-4870-bdee-f858725b1b24','j000001',1,'@ROOT@/to/d.wav',8864,1795303211673584715,'xxh3-64:76fbdb3b66dc80c1','4-d.wav.xel','',0,'<made><source path="@ROOT@/watch2/d.wav" size="8864" modified="1795303211673584715" changed="1795303211673584715" inode="10969152" checksum="xxh3-64:76fbdb3b66dc80c1"/><media kind="audio" format="wav" duration="0.091875"><stream type="audio" codec="pcm_s16le" bitRate="768000" sampleRate="48000" channels="1" duration="0.091875" bits="16"/></media><link reelName="d"/><activity id="copy" name="Copy 1" check="verified"><file path="@ROOT@/to/d.wav" size="8864" modified="1795303211673584715" changed="1795303211805584709" inode="10969317" checksum="xxh3-64:76fbdb3b66dc80c1"/></activity></made>','','');
INSERT INTO clips VALUES(5,'c8a46d42-34e2-4ea1-9081-65b78eed0d2a','f000003','@ROOT@/watch3/e.wav',8864,1795303211877584706,1795303211877584706,10969116,'xxh3-64:c99414867d3fa53a','failed','10a11c82-2f79-41db-97ed-71e06128bd91','j000002',1,'@ROOT@/to/e.wav',8864,1795303211877584706,'xxh3-64:c99414867d3fa53a','5-e.wav.xel','',0,'<made><source path="@ROOT@/watch3/e.wav" size="8864" modified="1795303211877584706" changed="1795303211877584706" inode="10969116" checksum="xxh3-64:c99414867d3fa53a"/><media kind="audio" format="wav" duration="0.091875"><stream type="audio" codec="pcm_s16le" bitRate="768000" sampleRate="48000" channels="1" duration="0.091875" bits="16"/></media><link reelName="e"/><activity id="copy" name="Copy 1" check="verified"><file path="@ROOT@/to/e.wav" size="8864" modified="1795303211877584706" changed="1795303212005584700" inode="10969319" checksum="xxh3-64:c99414867d3fa53a"/></activity></made>','Transcode 1','Transcoding @ROOT@/to/e.wav failed: the codec "" () is not in the catalogue');
INSERT INTO clips VALUES(6,'d4cd3c3b-5553-4f56-b4dd-126c98fb5995','j000003','@ROOT@/watch/b.wav',8864,1795303211475154173,1795303211475154173,10969316,'xxh3-64:184c05b01f746203','offered','c6b93bfc-486f-43e4-baa1-b696c1259d78','',0,'',0,0,'','6-b.wav.xel','',0,'','','');
CREATE TABLE meta(name TEXT PRIMARY KEY, value INTEGER NOT NULL);
INSERT INTO meta VALUES('generation',9);
INSERT INTO meta VALUES('looked',1795303211218890721);
CREATE TABLE copied(
    seq INTEGER PRIMARY KEY AUTOINCREMENT,
    folder TEXT NOT NULL,
    inode INTEGER NOT NULL,
    finished INTEGER NOT NULL,
    files TEXT NOT NULL);
INSERT INTO copied VALUES(1,'@ROOT@/to',10969147,1795303211813530218,replace('8864 1795303211673584715 1795303211813520153 0 xxh3-64:76fbdb3b66dc80c1 d.wav\n','\n',char(10)));
INSERT INTO copied VALUES(2,'@ROOT@/to',10969147,1795303212013545457,replace('8864 1795303211877584706 1795303212013534410 0 xxh3-64:c99414867d3fa53a e.wav\n','\n',char(10)));
DELETE FROM sqlite_sequence;
INSERT INTO sqlite_sequence VALUES('clips',6);
INSERT INTO sqlite_sequence VALUES('profiles',3);
INSERT INTO sqlite_sequence VALUES('folders',3);
INSERT INTO sqlite_sequence VALUES('errors',2);
INSERT INTO sqlite_sequence VALUES('jobs',3);
INSERT INTO sqlite_sequence VALUES('copied',2);
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
CREATE INDEX copied_by_folder ON copied(folder, seq);
COMMIT;
PRAGMA user_version=5;
