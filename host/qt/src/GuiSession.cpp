#include "kfhost/qt/Gui.hpp"

#include "kfhost/Host.hpp"
#include "kfhost/qt/DialogWindow.hpp"
#include "kfhost/qt/MainWindow.hpp"
#include "kfhost/qt/QtBackend.hpp"
#include "kfhost/qt/QtRunLoop.hpp"
#include "kfhost/qt/Screenshots.hpp"
#include "kfhost/qt/WidgetHand.hpp"

#include <QApplication>
#include <QEventLoop>

#include <iostream>
#include <streambuf>

namespace kfhost::qt {
namespace {

// The transcript's echo: each line to the main window's log, and on to standard output.
class LineSink final : public std::streambuf {
public:
    LineSink(std::function<void(const std::string&)> line, std::ostream* also) : line_(std::move(line)), also_(also) {}

protected:
    int_type overflow(int_type ch) override
    {
        if (traits_type::eq_int_type(ch, traits_type::eof()))
            return traits_type::not_eof(ch);
        const char c = traits_type::to_char_type(ch);
        if (also_)
            also_->put(c);
        if (c == '\n') {
            line_(pending_);
            pending_.clear();
        } else {
            pending_ += c;
        }
        return ch;
    }
    std::streamsize xsputn(const char* s, std::streamsize n) override
    {
        for (std::streamsize i = 0; i < n; ++i)
            overflow(traits_type::to_int_type(s[i]));
        return n;
    }
    int sync() override
    {
        if (also_)
            also_->flush();
        return 0;
    }

private:
    std::function<void(const std::string&)> line_;
    std::ostream* also_;
    std::string pending_;
};

// The offscreen platform warns of every window it cannot raise or resize, and Qt of a missing
// runtime folder it does not need: noise in a transcript, not faults.
QtMessageHandler sNextHandler = nullptr;

void QuietHandler(QtMsgType type, const QMessageLogContext& context, const QString& message)
{
    if (type == QtWarningMsg && (message.startsWith(QLatin1String("This plugin does not support")) ||
                                 message.startsWith(QLatin1String("QStandardPaths: XDG_RUNTIME_DIR"))))
        return;
    if (sNextHandler)
        sNextHandler(type, context, message);
    else
        std::cerr << qPrintable(qFormatLogMessage(type, context, message)) << '\n';
}

} // namespace

struct GuiSession::Impl {
    Impl(Host& h, ScriptRunner& r, GuiOptions o) : host(h), script(r), options(std::move(o)) {}

    // Before each line, and once more at the end, with the windows up to date: a picture of each
    // window that changed.
    void Capture()
    {
        backend->Flush();
        if (!shots)
            return;
        for (DialogWindow* window : backend->Windows()) {
            if (!window->isVisible() || window->Signature() == window->capturedSignature)
                continue;
            std::string why;
            if (shots->Save(*window, std::to_string(window->ResID()), &why).empty())
                script.Fail(why);
            else
                window->capturedSignature = window->Signature();
        }
    }

    Host& host;
    ScriptRunner& script;
    GuiOptions options;
    std::unique_ptr<QApplication> app; // when there was none
    QtBackend* backend = nullptr;      // owned by the host
    QtRunLoop* loop = nullptr;         // owned by the host
    std::unique_ptr<MainWindow> window;
    std::unique_ptr<Screenshots> shots;
    std::unique_ptr<WidgetHand> hand;
    std::unique_ptr<LineSink> sink;
    std::unique_ptr<std::ostream> echo;
};

GuiSession::GuiSession(Host& host, ScriptRunner& script, GuiOptions options)
    : impl_(std::make_unique<Impl>(host, script, std::move(options)))
{
    Impl& s = *impl_;
    static const bool quiet = [] {
        sNextHandler = qInstallMessageHandler(QuietHandler);
        return true;
    }();
    (void)quiet;
    if (!QApplication::instance()) {
        // Qt reads its own options from the arguments; kfhost's are not for it.
        static int argc = 1;
        static char name[] = "kfhost";
        static char* argv[] = {name, nullptr};
        s.app = std::make_unique<QApplication>(argc, argv);
    }
    QApplication::setApplicationName(QStringLiteral("kfhost"));
    QApplication::setQuitOnLastWindowClosed(false);

    auto loop = std::make_unique<QtRunLoop>();
    s.loop = loop.get();
    host.SetRunLoop(std::move(loop));
    auto backend = std::make_unique<QtBackend>(host, script);
    s.backend = backend.get();
    host.SetDialogBackend(std::move(backend));

    s.window = std::make_unique<MainWindow>(host, s.loop);
    s.backend->SetAnchor(s.window.get());
    MainWindow* window = s.window.get();
    s.backend->SetOnWindowsChanged([window] { window->UpdateStatus(); });
    s.sink = std::make_unique<LineSink>(
        [window](const std::string& line) { window->AppendLog(QString::fromStdString(line)); },
        s.options.echo ? &std::cout : nullptr);
    s.echo = std::make_unique<std::ostream>(s.sink.get());
    host.Log().Echo(s.echo.get());

    if (!s.options.screenshotDir.empty()) {
        s.shots = std::make_unique<Screenshots>(s.options.screenshotDir);
        s.backend->SetScreenshots(s.shots.get());
    }
    s.hand = std::make_unique<WidgetHand>(host.Dialogs(), *s.backend);
}

GuiSession::~GuiSession()
{
    Impl& s = *impl_;
    s.host.UnloadAll(); // FreeData and the modeless windows' close while the windows exist
    s.backend->EndScript();
    s.host.Log().Echo(s.options.echo ? &std::cout : nullptr);
    s.host.SetDialogBackend(std::make_unique<HeadlessBackend>(s.host, s.script));
    s.host.SetRunLoop(std::make_unique<PollRunLoop>());
    s.script.SetHand(nullptr);
    s.script.SetLineHooks(nullptr, nullptr);
    s.hand.reset();
    s.window.reset();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    s.app.reset();
}

void GuiSession::ShowMainWindow()
{
    impl_->window->RebuildMenus();
    impl_->window->UpdateStatus();
    impl_->window->show();
}

bool GuiSession::Run(std::string_view script, const std::string& source)
{
    Impl& s = *impl_;
    ShowMainWindow();
    if (!script.empty()) {
        // The runner parses and checks every line as headless; the widgets carry out the actions.
        s.script.Append(script, source);
        s.script.SetHand(s.hand.get());
        s.script.SetLineHooks([&s] { s.Capture(); },
                              [&s] {
                                  s.backend->Flush();
                                  s.hand->CheckWindows();
                              });
        s.backend->SetScript([&s] { return s.script.Step(); }, s.options.batch);
        s.script.RunAll();
        s.Capture();
        s.backend->EndScript();
        s.script.SetHand(nullptr);
        s.script.SetLineHooks(nullptr, nullptr);
        if (s.shots) {
            // The application window with what is still open beside it.
            std::vector<QWidget*> windows{s.window.get()};
            for (DialogWindow* window : s.backend->Windows())
                if (window->isVisible())
                    windows.push_back(window);
            std::string why;
            if (s.shots->Save(Screenshots::Desktop(windows), "host", &why).empty())
                s.script.Fail(why);
        }
    }
    if (!s.options.batch) {
        QEventLoop untilClosed;
        s.window->onClose = [&untilClosed] { untilClosed.quit(); };
        if (s.window->isVisible())
            untilClosed.exec();
        s.window->onClose = nullptr;
    }
    return s.script.Ok();
}

QtBackend& GuiSession::Backend()
{
    return *impl_->backend;
}
MainWindow& GuiSession::Window()
{
    return *impl_->window;
}

} // namespace kfhost::qt
