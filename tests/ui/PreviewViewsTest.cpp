// The VIEWER's picture, film and document previews over real files: APNGs
// assembled by apngasm from PNGs Qt writes, a PDF drawn with QPdfWriter, a
// WAV written byte by byte and files of junk bytes for what cannot be read.
#include "ui/PreviewBodyView.h"

#include "ScreenTestSupport.h"
#include "support/ToolRun.h"
#include "core/Background.h"
#include "preview/AnimatedImageSupport.h"
#include "ui/EditorPaneView.h"
#include "ui/FitImagePreviewView.h"
#include "ui/GeneralPreviewView.h"
#include "ui/HeaderBar.h"
#include "ui/ScreenFont.h"
#include "ui/ScreenText.h"
#include "ui/StaticImagePreviewView.h"
#include "ui/StillImagePreviewView.h"
#include "ui/VideoPreviewView.h"

#include <QDataStream>
#include <QMediaPlayer>
#include <QPainter>
#include <QPdfWriter>
#include <QPushButton>

using namespace ScreenTest;

namespace {

const QColor red(255, 0, 0);
const QColor blue(0, 0, 255);

bool waitFor(const std::function<bool()>& condition) {
    return QTest::qWaitFor(condition, 10000);
}

class PreviewViewsTest : public ScreenFixture {
protected:
    void SetUp() override {
        ScreenFixture::SetUp();
        makeState();
    }
    void TearDown() override {
        bodyView.reset();
        ScreenFixture::TearDown();
    }

    PreviewBodyView& shownBody(QSize size) {
        bodyView.emplace(*state);
        bodyView->resize(size);
        bodyView->show();
        return *bodyView;
    }

    QString writeImage(const QString& name, const QSize& size, const QColor& colour,
                       const char* format = "PNG") {
        QImage image(size, QImage::Format_RGB32);
        image.fill(colour);
        const QString path = dir.filePath(name);
        EXPECT_TRUE(image.save(path, format));
        return path;
    }

    void run(const QString& program, const QStringList& arguments) {
        ToolRun::run(dir.path(), program, arguments);
    }

    // A two-frame APNG, red then blue, 40 by 30.
    QString writeAPNG() {
        writeImage("f1.png", {40, 30}, red);
        writeImage("f2.png", {40, 30}, blue);
        run("apngasm", {"anim.png", "f1.png", "f2.png", "-z0", "-kc"});
        return dir.filePath("anim.png");
    }

    // The VIEWER shows the file as a graphic preview, as a load leaves it.
    void preview(const QString& path) {
        state->focusedSide = PaneSide::left;
        state->viewerKind = ViewerContentKind::preview;
        state->editorURL = path;
        state->animatedPreviewInfo = AnimatedImageSupport::animatedImageInfo(path);
        state->animatedFrameIndex = 0;
        state->notifyChanged();
        QApplication::processEvents();
    }

    std::optional<PreviewBodyView> bodyView;
};

TEST_F(PreviewViewsTest, AFittedPictureKeepsItsShapeAndNeverGrows) {
    const QRect pane(0, 0, 400, 300);
    EXPECT_EQ(FitImagePreviewView::fittedRect({100, 50}, pane), QRect(150, 125, 100, 50));
    EXPECT_EQ(FitImagePreviewView::fittedRect({800, 400}, pane), QRect(0, 50, 400, 200));
    EXPECT_EQ(FitImagePreviewView::fittedRect({300, 600}, pane), QRect(125, 0, 150, 300));
    EXPECT_TRUE(FitImagePreviewView::fittedRect({0, 0}, pane).isEmpty());
}

TEST_F(PreviewViewsTest, AnAnimatedPictureIsPagedFromItsStripAndWraps) {
    PreviewBodyView& body = shownBody({600, 300});
    preview(writeAPNG());
    auto* paged = qobject_cast<StaticImagePreviewView*>(body.currentView());
    ASSERT_NE(paged, nullptr);
    ASSERT_TRUE(waitFor([&] { return !paged->isLoading(); }));
    EXPECT_EQ(paged->loadedFrameCount(), 2);
    EXPECT_EQ(paged->positionText(), "1/2");
    EXPECT_EQ(paged->accessibleDescription(), "APNG, frame 1 of 2");
    EXPECT_EQ(paged->shownFrame().pixelColor(5, 5), red);
    EXPECT_GT(countColor(grab(body), body.rect(), red), 500);

    // With the focus on the left, a click still pages: it takes the focus.
    paged->previousButton()->click();
    QApplication::processEvents();
    EXPECT_EQ(state->focusedSide, PaneSide::right);
    EXPECT_EQ(paged->positionText(), "2/2");
    const QImage second = grab(body);
    EXPECT_EQ(countColor(second, body.rect(), red), 0);
    EXPECT_GT(countColor(second, body.rect(), blue), 500);
    paged->nextButton()->click();
    QApplication::processEvents();
    EXPECT_EQ(paged->positionText(), "1/2");
    EXPECT_EQ(body.currentView(), paged) << "paging does not rebuild the view";
}

// A two-frame APNG whose acTL announces five: the header, the strip and
// paging all go by the two there are, and the header marks the frame
// indicator with the page-flip sign.
TEST_F(PreviewViewsTest, TheHeaderAndTheStripAgreeOnTheFramesOfADamagedAPNG) {
    QFile source(writeAPNG());
    ASSERT_TRUE(source.open(QIODevice::ReadOnly));
    QByteArray png = source.readAll();
    const qsizetype actl = png.indexOf("acTL");
    ASSERT_GT(actl, 0);
    png.replace(actl - 4, 20,
                AnimatedImageSupport::chunkBytes("acTL", QByteArray::fromHex("0000000500000000")));
    const QString path = dir.makeFile("lying.png", png);
    ASSERT_EQ(AnimatedImageSupport::animatedImageInfo(path)->frameCount, 5);

    EditorPaneView pane(*state);
    pane.resize(600, 300);
    pane.show();
    preview(path);
    auto* paged = pane.findChild<StaticImagePreviewView*>();
    ASSERT_NE(paged, nullptr);
    ASSERT_TRUE(waitFor([&] { return !paged->isLoading(); }));
    const auto indicator = [&] { return pane.trailingItems().last(); };
    EXPECT_EQ(indicator().text, "APNG 1/2");
    EXPECT_TRUE(indicator().pageFlip);
    EXPECT_EQ(paged->positionText(), "1/2");

    state->focusedSide = PaneSide::right;
    for (const char* position : {"2/2", "1/2", "2/2"}) {
        ASSERT_TRUE(state->pageAnimatedFrame(+1));
        QApplication::processEvents();
        EXPECT_EQ(indicator().text, QStringLiteral("APNG ") + position);
        EXPECT_EQ(paged->positionText(), position);
    }
}

TEST_F(PreviewViewsTest, TheFrameIndicatorIsDrawnAfterThePageFlipSign) {
    const ScreenText text(ScreenFont::font(13));
    const QRectF bar(0, 0, 400, HeaderBar::height(text));
    const auto drawn = [&](bool pageFlip) {
        QImage image(bar.size().toSize(), QImage::Format_RGB32);
        image.fill(Qt::black);
        QPainter painter(&image);
        HeaderBar::paint(painter, bar, text, false, {},
                         {{QStringLiteral("APNG 1/2"), Qt::white, false, pageFlip}});
        return image;
    };
    // Left of where the right-aligned text begins (8 points of padding).
    const double textLeft = bar.right() - 8 - text.width(QStringLiteral("APNG 1/2"));
    const QRect beforeText(0, 0, int(textLeft) - 1, int(bar.height()));
    EXPECT_EQ(countColor(drawn(false), beforeText, Qt::white), 0);
    EXPECT_GT(countColor(drawn(true), beforeText, Qt::white), 0);
    const QRect textArea(int(textLeft) + 1, 0, int(bar.right() - textLeft) - 1, int(bar.height()));
    EXPECT_EQ(countColor(drawn(true), textArea, Qt::white),
              countColor(drawn(false), textArea, Qt::white));
}

TEST_F(PreviewViewsTest, AOneFrameGIFIsAStillPictureAndJunkSaysItCannotBeRead) {
    run("convert", {"-size", "30x20", "xc:blue", "one.gif"});
    const QString path = dir.filePath("one.gif");
    EXPECT_FALSE(AnimatedImageSupport::animatedImageInfo(path));
    PreviewBodyView& body = shownBody({300, 200});
    preview(path);
    auto* still = qobject_cast<StillImagePreviewView*>(body.currentView());
    ASSERT_NE(still, nullptr);
    EXPECT_EQ(still->statusText(), "Loading…");
    ASSERT_TRUE(waitFor([&] { return !still->isLoading(); }));
    EXPECT_EQ(still->statusText(), "");
    // Never above its own size: 30 by 20 pixels, centred.
    EXPECT_EQ(countColor(grab(body), body.rect(), blue), 600);

    const QString junk = dir.makeFile("broken.png", QByteArray("\x89PNG\r\n\x1a\nnot a picture"));
    still->setPath(junk);
    ASSERT_TRUE(waitFor([&] { return !still->isLoading(); }));
    EXPECT_EQ(still->statusText(), "Unable to load image");
    StaticImagePreviewView paged(*state);
    paged.setSource(junk, AnimatedImageInfo{2, "APNG"});
    EXPECT_EQ(paged.statusText(), "Loading frames…");
    ASSERT_TRUE(waitFor([&] { return !paged.isLoading(); }));
    EXPECT_EQ(paged.statusText(), "Unable to load image");
}

// The large picture is still being decoded when the small one has come: it
// must not replace it when it arrives.
TEST_F(PreviewViewsTest, APictureReadForTheFileBeforeIsDropped) {
    const QString large = writeImage("large.png", {4000, 3000}, red);
    const QString small = writeImage("small.png", {20, 10}, blue);
    Background::ManualExecutor reads;
    const AppState stepped(preferences, reads);
    StillImagePreviewView still(stepped);
    still.setPath(large);
    still.setPath(small);
    EXPECT_EQ(reads.nextPool(), Background::Pool::diskRead);
    reads.runNext();
    EXPECT_TRUE(still.isLoading());
    EXPECT_TRUE(still.image().isNull());
    reads.runAll();
    EXPECT_FALSE(still.isLoading());
    EXPECT_EQ(still.image().size(), QSize(20, 10));
}

TEST_F(PreviewViewsTest, APDFShowsItsFirstPageOtherFilesAndABrokenPDFACard) {
    const QString path = dir.filePath("doc.pdf");
    {
        QPdfWriter writer(path);
        QPainter painter(&writer);
        // The left half of page 1 black; page 2 is left blank.
        painter.fillRect(QRect(0, 0, writer.width() / 2, writer.height()), Qt::black);
        writer.newPage();
    }
    PreviewBodyView& body = shownBody({400, 400});
    preview(path);
    auto* general = qobject_cast<GeneralPreviewView*>(body.currentView());
    ASSERT_NE(general, nullptr);
    ASSERT_TRUE(waitFor([&] { return !general->isRenderingPage(); }));
    ASSERT_TRUE(general->showsPage());
    const QImage shown = grab(body);
    EXPECT_GT(countColor(shown, shown.rect(), Qt::black), 10000);
    EXPECT_GT(countColor(shown, shown.rect(), Qt::white), 10000);

    GeneralPreviewView& card = *general;
    card.setPath(dir.makeFile("blob.xyzzy", QByteArray(3000, '\x01')));
    ASSERT_EQ(card.cardLines().size(), 4);
    EXPECT_EQ(card.cardLines().at(0), "blob.xyzzy");
    EXPECT_EQ(card.cardLines().at(2), "2.9 KB");
    EXPECT_FALSE(card.isRenderingPage());
    EXPECT_GT(countColor(grab(card), card.rect(), Palette::fileText()), 0) << "the name is drawn";

    card.setPath(dir.makeFile("broken.pdf", QByteArray("%PDF-1.4 then nothing")));
    ASSERT_TRUE(waitFor([&] { return !card.isRenderingPage(); }));
    EXPECT_FALSE(card.showsPage());
    EXPECT_EQ(card.cardLines().at(0), "broken.pdf");
}

// A RIFF WAVE header for 16-bit mono PCM at 8 kHz, then that many silent samples.
QByteArray silentWave(int samples) {
    QByteArray bytes;
    QDataStream out(&bytes, QIODevice::WriteOnly);
    out.setByteOrder(QDataStream::LittleEndian);
    out.writeRawData("RIFF", 4);
    out << quint32(36 + samples * 2);
    out.writeRawData("WAVEfmt ", 8);
    // Format block: PCM, mono, 8000 Hz, 16000 bytes/s, 2-byte frames, 16 bits.
    out << quint32(16) << quint16(1) << quint16(1) << quint32(8000) << quint32(16000) << quint16(2)
        << quint16(16);
    out.writeRawData("data", 4);
    out << quint32(samples * 2);
    return bytes + QByteArray(samples * 2, '\0');
}

TEST_F(PreviewViewsTest, TheFilmPlayerSurvivesRedrawsAndTellsWhyAFileDoesNotPlay) {
    PreviewBodyView& body = shownBody({400, 300});
    const QString movie = dir.makeFile("clip.mov", QByteArray(4096, '\x07'));
    preview(movie);
    auto* video = qobject_cast<VideoPreviewView*>(body.currentView());
    ASSERT_NE(video, nullptr);
    QMediaPlayer* player = video->player();
    EXPECT_EQ(player->source(), QUrl::fromLocalFile(movie));

    state->showHiddenFiles = !state->showHiddenFiles;
    state->notifyChanged();
    QApplication::processEvents();
    video->setPath(movie);
    EXPECT_EQ(body.currentView(), video);
    EXPECT_EQ(video->player(), player);

    // Junk bytes under a film's name: the player's own reason is shown.
    player->play();
    EXPECT_TRUE(waitFor([&] { return player->error() != QMediaPlayer::NoError; }));
    EXPECT_EQ(video->statusText(), player->errorString());

    // Sound is played by the same view, which takes the new file.
    const QString sound = dir.makeFile("tone.wav", silentWave(20000));
    preview(sound);
    EXPECT_EQ(body.currentView(), video);
    EXPECT_EQ(player->source(), QUrl::fromLocalFile(sound));
    EXPECT_TRUE(waitFor([&] { return player->duration() > 0; }));
    EXPECT_EQ(video->statusText(), "0:00 / 0:02");
}

TEST_F(PreviewViewsTest, TheViewFollowsTheFileOnShow) {
    PreviewBodyView body(*state);
    const QString still = writeImage("still.jpg", {8, 8}, red, "JPG");
    const QString animated = writeAPNG();
    const QString film = dir.makeFile("film.mp4", QByteArray(100, '\0'));
    const QString text = dir.makeFile("notes.txt", "hello");
    using Kind = PreviewBodyView::Kind;
    const std::pair<QString, Kind> cases[] = {
        {still, Kind::stillImage}, {animated, Kind::pagedImage}, {film, Kind::video},
        {text, Kind::general},     {still, Kind::stillImage},
    };
    for (const auto& [path, kind] : cases) {
        preview(path);
        EXPECT_EQ(body.kind(), kind) << path.toStdString();
    }
    state->viewerKind = ViewerContentKind::text;
    state->notifyChanged();
    QApplication::processEvents();
    EXPECT_EQ(body.kind(), Kind::none);
    EXPECT_EQ(body.currentView(), nullptr);
}

} // namespace
