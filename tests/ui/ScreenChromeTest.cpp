// What surrounds the panes takes the screen's look and language: the menu bar,
// its menus and the text views' scroll bars are navy, not the desktop's light
// grey, and choosing a language puts its locale on the widgets.
#include "ui/AppMenus.h"
#include "ui/LanguageLocale.h"
#include "ui/TextEditStyle.h"

#include "ScreenTestSupport.h"

#include <QMenu>
#include <QPlainTextEdit>
#include <QScrollBar>

using namespace ScreenTest;

namespace {

// The desktop's light grey: bright, and without the blue of the screen's text.
int lightGreyPixels(const QImage& image) {
    int count = 0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            const QColor c = image.pixelColor(x, y);
            if (c.red() > 200 && c.green() > 200 && std::abs(c.blue() - c.red()) < 12) {
                ++count;
            }
        }
    }
    return count;
}

int navyPixels(const QImage& image) {
    return countColor(image, image.rect(), Palette::paneBackground(), 8);
}

class ScreenChromeTest : public ScreenFixture {
protected:
    void SetUp() override {
        ScreenFixture::SetUp();
        makeState();
    }
};

TEST_F(ScreenChromeTest, TheMenuBarAndItsMenusAreNavy) {
    AppMenus menus(*state);
    menus.resize(600, menus.sizeHint().height());
    menus.show();
    const QImage bar = grab(menus);
    EXPECT_GT(navyPixels(bar), bar.width() * bar.height() / 2);
    EXPECT_EQ(lightGreyPixels(bar), 0);

    for (QMenu* menu : menus.findChildren<QMenu*>()) {
        SCOPED_TRACE(menu->title().toStdString());
        menu->adjustSize();
        const QImage image = menu->grab().toImage().convertToFormat(QImage::Format_RGB32);
        EXPECT_GT(navyPixels(image), image.width() * image.height() / 2);
        EXPECT_LT(lightGreyPixels(image), image.width() * image.height() / 50);
    }
}

TEST_F(ScreenChromeTest, TheTextViewsScrollBarsAreOverNavy) {
    QWidget pane;
    pane.setAutoFillBackground(true);
    QPalette navy = pane.palette();
    navy.setColor(QPalette::Window, Palette::paneBackground());
    pane.setPalette(navy);
    auto* text = new QPlainTextEdit(&pane);
    TextEditStyle::apply(*text, 13);
    text->setLineWrapMode(QPlainTextEdit::NoWrap);
    text->setPlainText(QString(QStringLiteral("a long line of text ")).repeated(40) +
                       QString(QStringLiteral("\nline")).repeated(400));
    pane.resize(400, 300);
    text->resize(400, 300);
    pane.show();
    QApplication::processEvents();
    for (QScrollBar* bar : {text->verticalScrollBar(), text->horizontalScrollBar()}) {
        ASSERT_TRUE(bar->isVisible());
        const QImage image = grab(*bar);
        EXPECT_EQ(lightGreyPixels(image), 0) << int(bar->orientation());
    }
}

TEST_F(ScreenChromeTest, ChoosingALanguagePutsItsLocaleOnTheWidgets) {
    const QLocale before;
    QWidget window;
    auto* field = new QWidget(&window);
    LanguageLocale follower(*state);
    for (const auto& [language, expected] : {std::pair{AppLanguage::japanese, QLocale::Japanese},
                                             std::pair{AppLanguage::english, QLocale::English}}) {
        state->setAppLanguage(language);
        QApplication::processEvents();
        EXPECT_EQ(QLocale().language(), expected);
        EXPECT_EQ(window.locale().language(), expected);
        EXPECT_EQ(field->locale().language(), expected);
        EXPECT_EQ(QWidget().locale().language(), expected) << "a widget made later";
    }
    QLocale::setDefault(before);
}

} // namespace
