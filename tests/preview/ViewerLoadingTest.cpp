// What VIEWER shows once a file's or a member's load has ended, and which
// loads are dropped because a newer one replaced them.
#include "core/AppState.h"
#include "core/Background.h"
#include "core/Preferences.h"
#include "core/SystemPath.h"
#include "support/TestDir.h"
#include "support/ToolRun.h"
#include "text/TextPreviewLoading.h"
#include "support/ListingWait.h"

#include <QFile>
#include <QThreadPool>
#include <QTest>

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace std::chrono_literals;

namespace {

const QString timedOutText = QStringLiteral("プレビューを中止しました（3秒超）");

class ViewerLoading : public ::testing::Test {
protected:
    void SetUp() override {
        preferences.setValue(QStringLiteral("startupDirectory"), dir.path());
        state = std::make_unique<AppState>(preferences);
        TextPreviewLoading::setTimeLimit(300ms);
    }
    void TearDown() override {
        state.reset();
        TextPreviewLoading::setTimeLimit(TextPreviewLoading::defaultTimeLimit);
    }

    // A state whose loads and time limits wait for the test to step them.
    void stepByHand() { state = std::make_unique<AppState>(preferences, manual); }

    // Loads a file and waits until the viewer has settled on it.
    void show(const QString& path) {
        state->loadViewerContent(path);
        settle();
    }
    void settle() {
        ASSERT_TRUE(QTest::qWaitFor([&] { return !state->isViewerLoading; }, 10000));
    }
    QString makeFifo(const QString& name) {
        const QString path = dir.filePath(name);
        EXPECT_EQ(::mkfifo(toSystemPath(path).constData(), 0644), 0);
        return path;
    }
    // A writer that opens and closes gives the stuck reader its end of file.
    static void releaseReaders(const QString& fifo) {
        const int fd = ::open(toSystemPath(fifo).constData(), O_WRONLY | O_NONBLOCK);
        if (fd >= 0) {
            ::close(fd);
        }
    }
    QString makeZip(const QString& name, const QStringList& members) {
        ToolRun::run(dir.path(), "zip", QStringList{"-q", name} + members);
        return dir.filePath(name);
    }

    TestDir dir;
    MemoryPreferences preferences;
    Background::ManualExecutor manual;
    std::unique_ptr<AppState> state;
};

} // namespace

TEST_F(ViewerLoading, TextIsTruncatedOnlyBeyondTheHead) {
    state->loadViewerContent(dir.makeFile("exact.txt", QByteArray(65536, 'a')));
    EXPECT_TRUE(state->isViewerLoading);
    EXPECT_EQ(state->viewerKind, ViewerContentKind::text);
    settle();
    EXPECT_FALSE(state->isTextPreviewTruncated);
    EXPECT_EQ(state->textFileByteSize, 65536);
    EXPECT_EQ(state->editorText.size(), 65536);
    EXPECT_EQ(state->textEncodingLabel, "UTF-8");

    show(dir.makeFile("over.txt", QByteArray(65537, 'a')));
    EXPECT_TRUE(state->isTextPreviewTruncated);
    EXPECT_EQ(state->textFileByteSize, 65537);
    EXPECT_EQ(state->editorText.size(), 65536);
    EXPECT_EQ(state->editorURL, dir.filePath("over.txt"));
    EXPECT_FALSE(state->viewerSkipReason);
}

TEST_F(ViewerLoading, FailuresAreToldInThePane) {
    const struct {
        QString path;
        QString reason;
    } cases[] = {
        {dir.filePath("gone.txt"), "ファイルを開けませんでした"},
        {dir.makeFile("binary.txt", QByteArray("\x00\x80\xFF\xFE\x01\xA0\xFD", 7)),
         "文字コードを判定できませんでした（UTF-8 / CP932 / Shift_JIS / EUC-JP）"},
        {dir.makeFile("disk.dmg", "plain words inside"), "ディスクイメージはプレビューしません"},
    };
    state->applyLayoutMode(LayoutMode::dualFiler);
    waitForListings(*state);
    for (const auto& c : cases) {
        show(c.path);
        EXPECT_EQ(state->viewerKind, ViewerContentKind::unsupported) << c.path.toStdString();
        EXPECT_EQ(state->viewerSkipReason, c.reason) << c.path.toStdString();
        EXPECT_EQ(state->editorURL, c.path);
        EXPECT_EQ(state->layoutMode, LayoutMode::filerViewer);
        EXPECT_EQ(state->rightMode, RightPaneMode::viewer);
        EXPECT_FALSE(state->errorMessage);
    }
}

TEST_F(ViewerLoading, FifosAreRefusedAtOnceAndHoldNoReader) {
    // More FIFOs than there are reader threads: a reader stuck in open() on
    // each would leave none for the text after them.
    for (int i = 0; i < 10; ++i) {
        const QString fifo = makeFifo(QStringLiteral("stuck%1.txt").arg(i));
        show(fifo);
        EXPECT_EQ(state->viewerSkipReason, QStringLiteral("ファイルを開けませんでした"));
        EXPECT_EQ(state->viewerKind, ViewerContentKind::unsupported);
    }
    show(dir.makeFile("after.txt", "after"));
    EXPECT_EQ(state->editorText, "after");
    EXPECT_FALSE(state->viewerSkipReason);

    // A document on a FIFO never blocks the main thread: it ends as a preview.
    const QString document = makeFifo("stuck.odt");
    show(document);
    releaseReaders(document);
    EXPECT_EQ(state->viewerKind, ViewerContentKind::preview);
    EXPECT_FALSE(state->viewerSkipReason);
}

TEST_F(ViewerLoading, ANewerLoadDropsTheOlder) {
    stepByHand();
    state->loadViewerContent(dir.makeFile("older.txt", "older"));
    state->loadViewerContent(dir.makeFile("first.txt", "first"));
    state->loadViewerContent(dir.makeFile("second.txt", "second"));
    // The older loads end first: nothing of them reaches the pane.
    manual.runNext();
    manual.runNext();
    EXPECT_TRUE(state->isViewerLoading);
    EXPECT_TRUE(state->editorText.isEmpty());
    manual.runAll();
    // Past the older loads' limit: their time-outs must not reach the pane.
    manual.advance(500ms);
    EXPECT_FALSE(state->isViewerLoading);
    EXPECT_EQ(state->editorText, "second");
    EXPECT_EQ(state->editorURL, dir.filePath("second.txt"));
    EXPECT_FALSE(state->viewerSkipReason);

    // Clearing the viewer cancels a load under way just the same.
    state->loadViewerContent(dir.filePath("first.txt"));
    state->clearViewer();
    manual.runAll();
    manual.advance(500ms);
    EXPECT_EQ(state->viewerKind, ViewerContentKind::none);
    EXPECT_FALSE(state->editorURL);
    EXPECT_TRUE(state->editorText.isEmpty());
}

// A GIF's frames are counted off the main thread: the picture shows at once
// and its count follows, unless another file has been chosen meanwhile.
TEST_F(ViewerLoading, AFileWhoseNameSaysNothingIsLookedAtOnAReaderThread) {
    stepByHand();
    const QString notes = dir.makeFile("notes.unknownkind", "plain words\n");
    const QString binary = dir.makeFile("blob.unknownkind", QByteArray("\x00\x01\x02\xFF", 4));
    state->loadViewerContent(notes);
    EXPECT_TRUE(state->isViewerLoading);
    EXPECT_EQ(state->viewerKind, ViewerContentKind::none);
    EXPECT_EQ(manual.nextPool(), Background::Pool::diskRead);
    manual.runAll();
    EXPECT_EQ(state->viewerKind, ViewerContentKind::text);
    EXPECT_EQ(state->editorText, "plain words\n");

    // A look that ends after the cursor has moved on shows nothing.
    state->loadViewerContent(binary);
    state->loadViewerContent(notes);
    manual.runAll();
    EXPECT_EQ(state->editorURL, notes);
    EXPECT_EQ(state->viewerKind, ViewerContentKind::text);
    state->loadViewerContent(binary);
    manual.runAll();
    EXPECT_EQ(state->viewerKind, ViewerContentKind::preview);
    EXPECT_FALSE(state->isViewerLoading);
}

TEST_F(ViewerLoading, AGIFsFrameCountFollowsUnlessTheCursorMovedOn) {
    ToolRun::run(dir.path(), "convert",
                 {"-size", "8x6", "xc:red", "xc:lime", "xc:blue", "anim.gif"});
    ToolRun::run(dir.path(), "convert", {"-size", "8x6", "xc:red", "still.png"});
    stepByHand();
    const QString gif = dir.filePath("anim.gif");
    state->loadViewerContent(gif);
    EXPECT_EQ(state->viewerKind, ViewerContentKind::preview);
    EXPECT_FALSE(state->animatedPreviewInfo);
    EXPECT_EQ(manual.nextPool(), Background::Pool::diskRead);
    manual.runAll();
    EXPECT_EQ(state->animatedPreviewInfo, (AnimatedImageInfo{3, "GIF"}));

    state->loadViewerContent(gif);
    state->loadViewerContent(dir.filePath("still.png"));
    manual.runAll();
    EXPECT_EQ(state->editorURL, dir.filePath("still.png"));
    EXPECT_FALSE(state->animatedPreviewInfo);
}

TEST_F(ViewerLoading, DocumentsShowTheirTextOrElseAPreview) {
    show(dir.makeFile("letter.doc", "Dear reader, this is plain text.\n"));
    EXPECT_EQ(state->viewerKind, ViewerContentKind::text);
    EXPECT_EQ(state->editorText, "Dear reader, this is plain text.\n");
    EXPECT_FALSE(state->isExtractedTextPreview);

    show(dir.makeFile("styled.rtf", "{\\rtf1\\ansi {\\b Bold} words.\\par}"));
    EXPECT_EQ(state->viewerKind, ViewerContentKind::text);
    EXPECT_TRUE(state->editorText.startsWith("Bold words.")) << state->editorText.toStdString();
    EXPECT_TRUE(state->isExtractedTextPreview);

    const QString markdown = dir.makeFile("source.md", "Converted 日本語 paragraph.\n");
    for (const QString made : {"made.docx", "made.odt"}) {
        ToolRun::run(dir.path(), "pandoc", {markdown, "-o", made});
        show(dir.filePath(made));
        EXPECT_TRUE(state->editorText.contains("Converted 日本語 paragraph."))
            << state->editorText.toStdString();
        EXPECT_TRUE(state->isExtractedTextPreview);
        EXPECT_EQ(state->textFileByteSize, QFileInfo(dir.filePath(made)).size());
    }

    // A document no converter reads goes to the graphic preview without a word.
    show(dir.makeFile("damaged.docx", "PK\x03\x04 broken"));
    EXPECT_EQ(state->viewerKind, ViewerContentKind::preview);
    EXPECT_FALSE(state->viewerSkipReason);
    EXPECT_FALSE(state->isExtractedTextPreview);
    EXPECT_TRUE(state->editorText.isEmpty());
    EXPECT_EQ(state->editorURL, dir.filePath("damaged.docx"));
}

TEST_F(ViewerLoading, MembersShowTheirHeadOrAreCopiedOut) {
    QByteArray big;
    for (int i = 0; big.size() < 100000; ++i) {
        big += QByteArray::number(i) + " line of text\n";
    }
    big.truncate(100000);
    dir.makeFile("big.txt", big);
    dir.makeFile("pic.png", "not an image, but a file to copy out");
    const QString archive = makeZip("bundle.zip", {"big.txt", "pic.png"});

    state->loadViewerContentForMember(archive, "big.txt", "big.txt");
    EXPECT_TRUE(state->viewerFromZip);
    settle();
    // Only the head is read, as for a file on disk.
    EXPECT_EQ(state->editorText.toUtf8(), big.left(65536));
    EXPECT_TRUE(state->isTextPreviewTruncated);
    EXPECT_EQ(state->textFileByteSize, 100000);
    EXPECT_EQ(state->editorURL, archive + "/big.txt");

    state->loadViewerContentForMember(archive, "pic.png", "pic.png");
    settle();
    EXPECT_EQ(state->viewerKind, ViewerContentKind::preview);
    ASSERT_TRUE(state->editorURL);
    QFile copy(*state->editorURL);
    ASSERT_TRUE(copy.open(QIODevice::ReadOnly));
    EXPECT_EQ(copy.readAll(), "not an image, but a file to copy out");
    EXPECT_EQ(state->viewerZipEntry, "pic.png");

    state->loadViewerContentForMember(archive, "missing.txt", "missing.txt");
    settle();
    EXPECT_EQ(state->errorMessage, "Cannot read archive entry");
    EXPECT_EQ(state->viewerKind, ViewerContentKind::text);
    EXPECT_FALSE(state->viewerSkipReason);
}

// A member shown as a picture is a copy in the private temporary folder; it
// stays while VIEWER shows it and goes once VIEWER shows anything else. A
// copy that comes back after the cursor moved on is not kept either.
TEST_F(ViewerLoading, AMembersCopyGoesOnceTheViewerMovesOn) {
    const QString temporary = dir.makeFolder("tmp");
    const QByteArray savedTmp = qgetenv("TMPDIR");
    qputenv("TMPDIR", temporary.toUtf8());
    dir.makeFile("pic.png", "not an image, but a file to copy out");
    dir.makeFile("notes.txt", "notes");
    const QString archive = makeZip("bundle.zip", {"pic.png", "notes.txt"});
    const QDir copies(temporary + "/Dorvik-archive-" + QString::number(::geteuid()));
    const auto showPicture = [&] {
        state->loadViewerContentForMember(archive, "pic.png", "pic.png");
        settle();
        EXPECT_EQ(copies.entryList(QDir::Files).size(), 1);
        return state->editorURL.value_or(QString());
    };

    QString copy = showPicture();
    ASSERT_TRUE(copy.startsWith(copies.path())) << copy.toStdString();
    // Back to VIEWER from another layout: the copy on show is loaded again.
    state->loadViewerContent(copy);
    EXPECT_TRUE(QFile::exists(copy));
    state->loadViewerContentForMember(archive, "notes.txt", "notes.txt");
    settle();
    EXPECT_FALSE(QFile::exists(copy));

    copy = showPicture();
    state->loadViewerContent(dir.filePath("notes.txt"));
    EXPECT_FALSE(QFile::exists(copy));

    copy = showPicture();
    state->clearViewer();
    EXPECT_FALSE(QFile::exists(copy));

    state->loadViewerContentForMember(archive, "pic.png", "pic.png");
    state->loadViewerContent(dir.filePath("notes.txt"));
    QThreadPool::globalInstance()->waitForDone();
    QCoreApplication::processEvents();
    EXPECT_EQ(copies.entryList(QDir::Files), QStringList());
    qputenv("TMPDIR", savedTmp);
}
