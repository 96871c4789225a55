#include "kfhost/qt/ScriptPlayer.hpp"

#include "kfhost/Lexer.hpp"
#include "kfhost/Host.hpp"
#include "kfhost/Text.hpp"
#include "kfhost/qt/DialogWindow.hpp"
#include "kfhost/qt/QtBackend.hpp"
#include "kfhost/qt/RowList.hpp"

#include <QAbstractButton>
#include <QLineEdit>

#include <optional>

namespace kfhost::qt {

using detail::Token;

namespace {

// The player has logged the line; the backend must not log the action again.
class Scripted {
public:
    explicit Scripted(QtBackend& backend) : backend_(backend), outer_(backend.IsScripted())
    {
        backend_.SetScripted(true);
    }
    ~Scripted() { backend_.SetScripted(outer_); }
    Scripted(const Scripted&) = delete;
    Scripted& operator=(const Scripted&) = delete;

private:
    QtBackend& backend_;
    bool outer_;
};

std::optional<std::int16_t> Int16At(const std::vector<Token>& tokens, std::size_t i)
{
    if (i >= tokens.size() || tokens[i].kind != Token::Kind::Number || !tokens[i].integral ||
        tokens[i].number < -32768 || tokens[i].number > 32767)
        return std::nullopt;
    return std::int16_t(tokens[i].number);
}

} // namespace

void ScriptPlayer::Append(std::string_view text, const std::string& source)
{
    AppendScriptLines(lines_, text, source);
}

bool ScriptPlayer::Step()
{
    if (lines_.empty())
        return false;
    const ScriptLine line = std::move(lines_.front());
    lines_.pop_front();
    std::vector<Token> tokens;
    try {
        tokens = detail::Tokenize(line.text);
    } catch (const detail::LexError&) {
        backend_.Script().Run(line); // reports it
        return true;
    }
    if (tokens.empty())
        return true;
    backend_.Flush();
    if (onPause)
        onPause();
    if (!Act(line, tokens))
        backend_.Script().Run(line);
    backend_.Flush();
    CheckWindows();
    return true;
}

void ScriptPlayer::RunAll()
{
    while (Step()) {
    }
    backend_.Flush();
    if (onPause)
        onPause();
}

bool ScriptPlayer::Act(const ScriptLine& line, const std::vector<Token>& tokens)
{
    if (tokens[0].kind != Token::Kind::Word)
        return false;
    const std::string& verb = tokens[0].text;
    if (verb != "click" && verb != "select" && verb != "type" && verb != "close")
        return false;
    Dialog* dialog = host_.Dialogs().Current();
    DialogWindow* window = dialog ? backend_.Window(dialog->id) : nullptr;
    if (!window)
        return false;
    const std::int16_t id = dialog->id;

    if (verb == "close") {
        if (tokens.size() != 1)
            return false;
        host_.Log().Add("> " + line.text);
        const Scripted scripted(backend_);
        window->close(); // the close box
        return true;
    }

    const auto number = Int16At(tokens, 1);
    const DialogItem* item = number ? dialog->Item(*number) : nullptr;
    if (!item || !item->visible || !item->enabled)
        return false;
    QWidget* widget = window->ItemWidget(*number);
    if (!widget || !widget->isVisibleTo(window) || !widget->isEnabled())
        return false; // CheckWindows has reported the difference already

    if (verb == "click") {
        auto* button = qobject_cast<QAbstractButton*>(widget);
        if (tokens.size() != 2 || !button)
            return false; // texts and icons take clicks only from scripts
        host_.Log().Add("> " + line.text);
        const Scripted scripted(backend_);
        button->click();
        return true;
    }
    if (verb == "select") {
        const auto row = Int16At(tokens, 2);
        RowList* list = window->List(*number);
        if (tokens.size() != 3 || !row || !list || *row < 1 || *row > list->count() ||
            *row > std::int16_t(item->rows.size()))
            return false;
        host_.Log().Add("> " + line.text);
        const Scripted scripted(backend_);
        if (list->SelectedRow() == *row)
            backend_.UserSelect(id, *number, *row); // choosing the chosen row again still tells the add-on
        else
            list->setCurrentRow(*row - 1);
        return true;
    }
    // type
    auto* edit = qobject_cast<QLineEdit*>(widget);
    if (tokens.size() != 3 || tokens[2].kind != Token::Kind::String || !edit)
        return false;
    host_.Log().Add("> " + line.text);
    const Scripted scripted(backend_);
    const std::u16string text = FromUTF8(tokens[2].text);
    edit->setText(QString::fromStdU16String(text));
    backend_.UserType(id, *number, text);
    return true;
}

void ScriptPlayer::CheckWindows()
{
    for (DialogWindow* window : backend_.Windows()) {
        const Dialog* dialog = host_.Dialogs().Find(window->DialogID());
        if (!dialog || !dialog->IsOpen())
            continue;
        if (const std::string difference = window->Disagreement(*dialog); !difference.empty())
            backend_.Script().Fail("the window disagrees with the dialog: " + difference);
    }
}

} // namespace kfhost::qt
