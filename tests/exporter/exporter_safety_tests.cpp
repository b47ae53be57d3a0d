// What an export may touch: only a temporary folder it made itself, and the target, which it
// replaces whole or not at all, whatever is planted beside it, fails, runs at the same time or
// is killed; and what it says when it cannot go on.

#include "exporttestsupport.h"
#include "tempfolder.h"

#include <QFile>

#include <csignal>
#include <filesystem>
#include <functional>
#include <numeric>
#include <set>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace fs = std::filesystem;
using namespace testrec;

namespace {

// A few frames of a recording with every kind of sheet, markers and an external channel, so
// an export writes every kind of part.
Options smallRecording()
{
    Options o;
    o.segments = 3;
    o.tPoseSegments = 3;
    o.frames = {0, 1, 2};
    o.channelRates = {120};
    o.rawSamplesPerFrame = 2;
    o.markers = {{1, QStringLiteral("step")}};
    return o;
}

void writeFile(const QString& path, const QByteArray& bytes)
{
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    file.write(bytes);
}

QByteArray readAll(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("<unreadable>");
}

// Everything under a folder, links not followed: each path with its bytes, its link target or
// a folder mark.
std::map<std::string, std::string> snapshot(const QString& folder)
{
    std::map<std::string, std::string> entries;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(folder.toStdString())) {
        const std::string name = fs::relative(entry.path(), folder.toStdString()).string();
        if (entry.is_symlink())
            entries[name] = "link to " + fs::read_symlink(entry.path()).string();
        else if (entry.is_directory())
            entries[name] = "folder";
        else
            entries[name] = readAll(QString::fromStdString(entry.path().string())).toStdString();
    }
    return entries;
}

} // namespace

TEST_F(ExportTest, NamesPlantedAtTheTemporaryFolderAreRefusedAndLeftAlone)
{
    const QString outside = dir.filePath(QStringLiteral("outside"));
    const struct
    {
        const char* what;
        std::function<void(const QString& folder)> plant;
    } cases[] = {
        {"someone's folder", [&](const QString& folder) {
             QDir().mkdir(folder);
             writeFile(folder + "/notes.txt", "notes");
         }},
        {"a link to a folder", [&](const QString& folder) {
             QDir().mkdir(outside);
             writeFile(outside + "/sheet1.xml", "keep");
             QFile::link(outside, folder);
         }},
        {"a file", [&](const QString& folder) { writeFile(folder, "a file"); }},
        {"a dangling link", [&](const QString& folder) { QFile::link(dir.filePath("nowhere"), folder); }},
        {"our lock file beside a folder", [&](const QString& folder) {
             QDir().mkpath(folder + "/inner");
             writeFile(folder + "/" + TempFolder::LockFileName, "");
         }},
    };
    // A name outside ASCII reaches the message as it was given.
    const QString workbook = target(QStringLiteral("s\u00fcb-\u6570\u636e.xlsx"));
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        QDir(dir.path()).removeRecursively();
        QDir().mkpath(dir.path());
        writeFile(workbook, "the earlier workbook");
        c.plant(workbook + "_fldr");
        const auto before = snapshot(dir.path());

        ExportSession s(smallRecording());
        ExcelExporter exporter(s.host, &s.settings);
        EXPECT_FALSE(exporter.initialize(workbook));
        EXPECT_EQ(exporter.lastError(), "Could not create temporary file " + workbook + "_fldr//sheet1.xml");
        EXPECT_EQ(s.host.usageEvents(), QStringList({"FileExportedExcel"}));
        EXPECT_FALSE(exporter.exportFrame(0));
        EXPECT_EQ(exporter.lastError(), "Export was not initialized");
        EXPECT_FALSE(exporter.finalize(false));
        EXPECT_TRUE(exporter.lastError().startsWith("Exception encountered: Could not create temporary file "))
            << exporter.lastError().toStdString();
        EXPECT_EQ(snapshot(dir.path()), before);
    }
}

TEST_F(ExportTest, TheTargetIsReplacedWholeKeepingItsPermissionsAndALinkThereIsNotFollowed)
{
    ExportSession s(smallRecording());
    writeFile(target(), "the earlier workbook");
    ASSERT_EQ(chmod(target().toUtf8().constData(), 0640), 0);
    ASSERT_EQ(s.run(target()), QString());
    EXPECT_EQ(QFile::permissions(target()),
        QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ReadUser | QFileDevice::WriteUser
            | QFileDevice::ReadGroup);
    ASSERT_TRUE(readWorkbook(target()));

    const QString elsewhere = dir.filePath(QStringLiteral("elsewhere.xlsx"));
    writeFile(elsewhere, "not to be touched");
    ASSERT_TRUE(QFile::remove(target()));
    ASSERT_TRUE(QFile::link(elsewhere, target()));
    ASSERT_EQ(s.run(target()), QString());
    EXPECT_FALSE(QFileInfo(target()).isSymLink());
    EXPECT_EQ(readAll(elsewhere), "not to be touched");
    const auto workbook = readWorkbook(target());
    ASSERT_TRUE(workbook);
    EXPECT_EQ(QDir(dir.path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
        QStringList({"elsewhere.xlsx", "out.xlsx"}));
}

TEST_F(ExportTest, ExportsToOneTargetExcludeEachOtherAndAKilledOneIsCleanedUpByTheNext)
{
    writeFile(target(), "the earlier workbook");
    const QString busy = "Another export is writing " + target();

    // Two exporters of one process.
    ExportSession s(smallRecording());
    {
        ExcelExporter first(s.host, &s.settings);
        ASSERT_TRUE(first.initialize(target()));
        {
            ExcelExporter second(s.host, &s.settings);
            EXPECT_FALSE(second.initialize(target()));
            EXPECT_EQ(second.lastError(), busy);
            EXPECT_FALSE(second.finalize(false));
        }
        // The refused one removed nothing of the first one's.
        for (int frame : s.host.frameNumbers())
            ASSERT_TRUE(first.exportFrame(frame));
        first.finalize(false);
        EXPECT_EQ(first.lastError(), QString());
    }
    ASSERT_TRUE(readWorkbook(target()));
    // Marked, so that a new workbook made within the same second is told apart from it.
    const QByteArray earlier = "the earlier workbook, again";
    writeFile(target(), earlier);

    // Another process holds the folder, leaves a link in it, then is killed.
    const QString outside = dir.filePath(QStringLiteral("outside.txt"));
    writeFile(outside, "not to be touched");
    int ready[2];
    ASSERT_EQ(pipe(ready), 0);
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        ExportSession c(smallRecording());
        ExcelExporter exporter(c.host, &c.settings);
        if (exporter.initialize(target()) && exporter.exportFrame(0)
            && QFile::link(outside, target() + "_fldr/sheet2.xml.tmp"))
            (void)!write(ready[1], "r", 1);
        pause();
        _exit(0);
    }
    close(ready[1]);
    char byte = 0;
    ASSERT_EQ(read(ready[0], &byte, 1), 1);
    close(ready[0]);
    EXPECT_EQ(s.run(target()), busy);
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
    EXPECT_EQ(readAll(target()), earlier);

    ASSERT_EQ(s.run(target()), QString());
    EXPECT_EQ(readAll(outside), "not to be touched");
    EXPECT_NE(readAll(target()), earlier);
    EXPECT_TRUE(readWorkbook(target()));
    EXPECT_EQ(QDir(dir.path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
        QStringList({"out.xlsx", "outside.txt"}));
}

TEST_F(ExportTest, AWriteFailureAnywhereLeavesTheEarlierFileAndNothingElse)
{
    // Files may not grow past a limit; with SIGXFSZ ignored, a write across it fails (EFBIG).
    // Limits from nothing to past the whole archive make the export's writes fail in turn:
    // the part files, then every entry of the archive (General Information and Markers alone
    // keep every part file smaller than the archive's fixed first entries), and byte by byte
    // its last directory records and end record.
    const QString reference = dir.filePath(QStringLiteral("reference.xlsx"));
    ExportSession s(smallRecording());
    for (const SheetEntry& sheet : sheetCatalogue)
        s.settings.setValue(QLatin1String(sheet.key), sheet.id == SheetId::Markers);
    ASSERT_EQ(s.run(reference), QString());
    const qint64 archiveSize = QFileInfo(reference).size();
    ASSERT_TRUE(QFile::remove(reference));

    const QByteArray earlier = "the earlier workbook";
    writeFile(target(), earlier);
    rlimit original{};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &original), 0);
    const auto previousHandler = signal(SIGXFSZ, SIG_IGN);
    std::set<QString> failures;
    qint64 largestFailing = -1;
    for (qint64 limit = 0; limit < archiveSize + 8; limit += limit < archiveSize - 100 ? 37 : 1) {
        QString message;
        {
            ExcelExporter exporter(s.host, &s.settings);
            const rlimit limited{static_cast<rlim_t>(limit), original.rlim_max};
            setrlimit(RLIMIT_FSIZE, &limited);
            message = s.run(exporter, target());
        }
        setrlimit(RLIMIT_FSIZE, &original);

        ASSERT_EQ(QDir(dir.path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
            QStringList("out.xlsx"))
            << "limit " << limit;
        if (message.isEmpty()) {
            // Whole: from the first local header to the end record.
            const QByteArray written = readAll(target());
            EXPECT_TRUE(written.startsWith("PK\x03\x04") && written.right(22).startsWith("PK\x05\x06")) << "limit " << limit;
            writeFile(target(), earlier);
        } else {
            ASSERT_EQ(readAll(target()), earlier) << "limit " << limit << ": " << message.toStdString();
            failures.insert(message);
            largestFailing = limit;
        }
    }
    signal(SIGXFSZ, previousHandler);

    // Every stage met a failure, the archive's end included.
    for (const char* expected :
        {"File too large", "Exception encountered: File too large", "Exception encountered: Could not add contents to xlsx file",
            "Exception encountered: Could not add file to xlsx", "Exception encountered: Could not create final xlsx file"})
        EXPECT_TRUE(failures.count(QString::fromLatin1(expected))) << expected;
    EXPECT_EQ(failures.size(), 5u);
    EXPECT_GE(largestFailing, archiveSize - 8);
    EXPECT_LT(largestFailing, archiveSize + 8);
    ASSERT_EQ(s.run(target()), QString());
    EXPECT_TRUE(readWorkbook(target()));
}

TEST_F(ExportTest, TargetThatCannotBeCreatedFailsFinalize)
{
    // The target is a folder: the temporary folder beside it works, the archive cannot.
    ASSERT_TRUE(QDir(dir.path()).mkdir(QStringLiteral("out.xlsx")));
    ExportSession s;
    ExcelExporter exporter(s.host, &s.settings);
    ASSERT_TRUE(exporter.initialize(target()));
    ASSERT_TRUE(exporter.exportFrame(0));
    EXPECT_FALSE(exporter.finalize(false));
    EXPECT_EQ(exporter.lastError(), "Exception encountered: Could not create final xlsx file");
    // The folder stays until the exporter goes; the parts already packed are gone from it.
    EXPECT_TRUE(QFileInfo::exists(target() + "_fldr"));
    EXPECT_FALSE(QFileInfo::exists(target() + "_fldr/sheet1.xml"));
    EXPECT_TRUE(QFileInfo(target()).isDir());
}

TEST_F(ExportTest, AbortAndDestructionLeaveNothingBehind)
{
    ExportSession s;
    {
        ExcelExporter exporter(s.host, &s.settings);
        ASSERT_TRUE(exporter.initialize(target()));
        ASSERT_TRUE(exporter.exportFrame(0));
        EXPECT_TRUE(QFileInfo::exists(target() + "_fldr"));
        EXPECT_FALSE(exporter.finalize(true));
        EXPECT_EQ(exporter.lastError(), QString());
        EXPECT_FALSE(QFileInfo::exists(target() + "_fldr"));
        EXPECT_FALSE(QFileInfo::exists(target()));
    }
    {
        ExcelExporter exporter(s.host, &s.settings);
        ASSERT_TRUE(exporter.initialize(target()));
        ASSERT_TRUE(exporter.exportFrame(0));
    }
    EXPECT_FALSE(QFileInfo::exists(target() + "_fldr"));
    EXPECT_FALSE(QFileInfo::exists(target()));
    // An exporter that never started touches nothing, not even the working folder.
    {
        ExcelExporter idle(s.host, &s.settings);
    }
    EXPECT_TRUE(QDir::current().exists());
}

TEST_F(ExportTest, WriteFailureDuringAFrameIsReported)
{
    // Files may not grow past 256 KiB; with SIGXFSZ ignored, a failed write of a frame reports
    // the device's error text instead of killing the process.
    Options o;
    o.segments = 27;
    o.tPoseSegments = 27;
    o.frames.resize(2000);
    std::iota(o.frames.begin(), o.frames.end(), 0);
    ExportSession s(o);
    rlimit original{};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &original), 0);
    const auto previousHandler = signal(SIGXFSZ, SIG_IGN);
    QString message;
    {
        ExcelExporter exporter(s.host, &s.settings);
        ASSERT_TRUE(exporter.initialize(target()));
        const rlimit limited{256 * 1024, original.rlim_max};
        setrlimit(RLIMIT_FSIZE, &limited);
        for (int frame = 0; message.isEmpty() && frame < 2000; ++frame)
            message = exporter.exportFrame(frame) ? QString() : exporter.lastError();
    }
    setrlimit(RLIMIT_FSIZE, &original);
    signal(SIGXFSZ, previousHandler);
    EXPECT_EQ(message, "Exception encountered: File too large");
    // The exporter's end removed every part file.
    EXPECT_FALSE(QFileInfo::exists(target() + "_fldr"));
    EXPECT_FALSE(QFileInfo::exists(target()));
}
