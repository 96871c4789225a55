// Reads the resource text format of docs/resources.md.
#include "kfhost/Lexer.hpp"
#include "kfhost/Resources.hpp"
#include "kfhost/Text.hpp"

#include <array>
#include <limits>

namespace kfhost {

ResourceError::ResourceError(std::string file, int line, int column, const std::string& message)
    : std::runtime_error(file + ":" + std::to_string(line) + ":" + std::to_string(column) + ": " + message),
      file_(std::move(file)),
      line_(line),
      column_(column),
      message_(message)
{}

namespace {

constexpr std::array<std::pair<ItemKind, std::string_view>, 6> kKinds{{
    {ItemKind::Button, "button"},
    {ItemKind::StaticText, "static"},
    {ItemKind::EditText, "edit"},
    {ItemKind::ListBox, "list"},
    {ItemKind::Icon, "icon"},
    {ItemKind::CheckBox, "checkbox"},
}};

using detail::Token;

class Parser {
public:
    Parser(const std::string& file, ResourceModule& module) : file_(file), module_(module) {}

    void Line(std::string_view text, int number)
    {
        line_ = number;
        lineText_ = text;
        if (const auto bad = FindInvalidUTF8(text))
            throw ResourceError(file_, line_, detail::ColumnOf(text, *bad), "invalid UTF-8");
        std::vector<Token> tokens;
        try {
            tokens = detail::Tokenize(text);
        } catch (const detail::LexError& e) {
            throw ResourceError(file_, line_, e.column, e.what());
        }
        if (tokens.empty())
            return;
        tokens_ = std::move(tokens);
        pos_ = 0;
        if (block_ == Block::None)
            TopLevel();
        else if (IsWord(tokens_[0], "end"))
            EndBlock();
        else if (block_ == Block::Strings)
            StringLine();
        else if (block_ == Block::Dialog)
            ItemLine();
        else
            MenuLine();
    }

    void Finish(int lastLine)
    {
        if (block_ != Block::None)
            throw ResourceError(file_, lastLine, 1,
                                "missing 'end' of " + blockName_ + " opened at line " + std::to_string(blockLine_));
    }

private:
    enum class Block { None, Strings, Dialog, Menu };

    static bool IsWord(const Token& t, std::string_view w) { return t.kind == Token::Kind::Word && t.text == w; }

    [[noreturn]] void Error(const Token& at, const std::string& message)
    {
        throw ResourceError(file_, line_, at.column, message);
    }
    [[noreturn]] void ErrorAtEnd(const std::string& message)
    {
        throw ResourceError(file_, line_, detail::ColumnOf(lineText_, lineText_.size()), message);
    }

    bool More() const { return pos_ < tokens_.size(); }
    const Token& Next(const char* what)
    {
        if (!More())
            ErrorAtEnd(std::string("expected ") + what);
        return tokens_[pos_++];
    }
    std::int64_t Number(const char* what, std::int64_t min, std::int64_t max)
    {
        const Token& t = Next(what);
        if (t.kind != Token::Kind::Number || !t.integral)
            Error(t, std::string("expected ") + what + ", found '" + t.text + "'");
        if (t.number < min || t.number > max)
            Error(t, std::string(what) + " " + t.text + " out of range " + std::to_string(min) + " to " +
                         std::to_string(max));
        return t.number;
    }
    std::int16_t ResID() { return std::int16_t(Number("a resource number", 1, 32767)); }
    std::string Str(const char* what)
    {
        const Token& t = Next(what);
        if (t.kind != Token::Kind::String)
            Error(t, std::string("expected ") + what + " in double quotes");
        return t.text;
    }
    void NoMore()
    {
        if (More())
            Error(tokens_[pos_], "unexpected '" + tokens_[pos_].text + "'");
    }

    void Claim(const std::string& key, const Token& at)
    {
        auto [it, fresh] = module_.origins.emplace(key, Here());
        if (!fresh)
            Error(at, key + " is defined twice (first at " + it->second + ")");
    }
    std::string Here() const { return file_ + ":" + std::to_string(line_); }
    // Where a string, a dialog item or a menu item is written, for checks that name its own line.
    void Mark(const char* part, std::int64_t number)
    {
        module_.origins.emplace(blockName_ + " " + part + " " + std::to_string(number), Here());
    }

    void Open(Block block, std::string name)
    {
        block_ = block;
        blockName_ = std::move(name);
        blockLine_ = line_;
    }

    void TopLevel()
    {
        const Token& head = tokens_[pos_++];
        if (IsWord(head, "module")) {
            ModuleID id;
            id.developerID = std::uint32_t(Number("a developer id", 0, 0xFFFFFFFFLL));
            id.localID = std::uint32_t(Number("a local id", 0, 0xFFFFFFFFLL));
            NoMore();
            Claim("module", head);
            module_.moduleID = id;
        } else if (IsWord(head, "strings")) {
            resID_ = ResID();
            NoMore();
            Claim("strings " + std::to_string(resID_), head);
            module_.strings[resID_];
            Open(Block::Strings, "strings " + std::to_string(resID_));
        } else if (IsWord(head, "dialog")) {
            DialogTemplate d;
            d.resID = resID_ = ResID();
            d.title = FromUTF8(Str("the dialog's title"));
            const Token& size = Next("'size'");
            if (!IsWord(size, "size"))
                Error(size, "expected 'size' WIDTH HEIGHT");
            d.width = std::int16_t(Number("a width", 0, 32767));
            d.height = std::int16_t(Number("a height", 0, 32767));
            while (More()) {
                const Token& opt = tokens_[pos_++];
                if (IsWord(opt, "cancel"))
                    d.cancelItem = std::int16_t(Number("an item number", 1, 32767));
                else
                    Error(opt, "unknown dialog option '" + opt.text + "' (cancel)");
            }
            Claim("dialog " + std::to_string(d.resID), head);
            module_.dialogs[d.resID] = std::move(d);
            Open(Block::Dialog, "dialog " + std::to_string(resID_));
        } else if (IsWord(head, "menu")) {
            MenuTemplate m;
            m.resID = resID_ = ResID();
            m.title = FromUTF8(Str("the menu's title"));
            NoMore();
            Claim("menu " + std::to_string(m.resID), head);
            module_.menus[m.resID] = std::move(m);
            Open(Block::Menu, "menu " + std::to_string(resID_));
        } else if (IsWord(head, "end")) {
            Error(head, "'end' without an open block");
        } else {
            Error(head, "unknown resource kind '" + head.text + "' (module, strings, dialog, menu)");
        }
    }

    void EndBlock()
    {
        ++pos_;
        NoMore();
        if (block_ == Block::Dialog) {
            const DialogTemplate& d = module_.dialogs[resID_];
            if (d.cancelItem > std::int16_t(d.items.size()))
                Error(tokens_[0],
                      "cancel item " + std::to_string(d.cancelItem) + " of " + blockName_ + " does not exist");
        }
        block_ = Block::None;
    }

    void StringLine()
    {
        const Token& first = tokens_[pos_];
        const auto index = std::int16_t(Number("a string index", 1, 32767));
        const std::string text = Str("the string");
        NoMore();
        auto& list = module_.strings[resID_];
        if (!list.emplace(index, FromUTF8(text)).second)
            Error(first, "string " + std::to_string(index) + " of " + blockName_ + " is defined twice");
        Mark("index", index);
    }

    void ItemLine()
    {
        DialogTemplate& d = module_.dialogs[resID_];
        const Token& first = tokens_[pos_];
        ItemTemplate item;
        item.number = std::int16_t(Number("an item number", 1, 32767));
        const auto expected = std::int16_t(d.items.size() + 1);
        if (item.number != expected)
            Error(first, "items are numbered from 1 without gaps: expected item " + std::to_string(expected));
        const Token& kind = Next("an item kind");
        const auto k = KindFromName(kind.text);
        if (kind.kind != Token::Kind::Word || !k)
            Error(kind, "unknown item kind '" + kind.text + "' (button, static, edit, list, icon, checkbox)");
        item.kind = *k;
        item.rect.left = std::int16_t(Number("the left edge", -32768, 32767));
        item.rect.top = std::int16_t(Number("the top edge", -32768, 32767));
        item.rect.width = std::int16_t(Number("a width", 0, 32767));
        item.rect.height = std::int16_t(Number("a height", 0, 32767));
        if (More() && tokens_[pos_].kind == Token::Kind::String)
            item.text = FromUTF8(tokens_[pos_++].text);
        else if (item.kind == ItemKind::Icon && More() && tokens_[pos_].kind == Token::Kind::Number)
            item.iconResID = std::int16_t(Number("an icon resource number", 1, 32767));
        while (More()) {
            const Token& flag = tokens_[pos_++];
            if (IsWord(flag, "hidden"))
                item.hidden = true;
            else if (IsWord(flag, "disabled"))
                item.disabled = true;
            else if (IsWord(flag, "checked") && item.kind == ItemKind::CheckBox)
                item.checked = true;
            else
                Error(flag, "unexpected '" + flag.text + "' (hidden, disabled" +
                                (item.kind == ItemKind::CheckBox ? ", checked)" : ")"));
        }
        Mark("item", item.number);
        d.items.push_back(std::move(item));
    }

    void MenuLine()
    {
        MenuItemTemplate item;
        item.text = FromUTF8(Str("the item's text"));
        while (More()) {
            const Token& flag = tokens_[pos_++];
            if (IsWord(flag, "checked"))
                item.checked = true;
            else if (IsWord(flag, "disabled"))
                item.disabled = true;
            else
                Error(flag, "unexpected '" + flag.text + "' (checked, disabled)");
        }
        auto& items = module_.menus[resID_].items;
        items.push_back(std::move(item));
        Mark("item", std::int64_t(items.size()));
    }

    const std::string& file_;
    ResourceModule& module_;
    int line_ = 0;
    std::string_view lineText_;
    std::vector<Token> tokens_;
    std::size_t pos_ = 0;
    Block block_ = Block::None;
    std::string blockName_;
    int blockLine_ = 0;
    std::int16_t resID_ = 0;
};

} // namespace

std::string_view KindName(ItemKind kind)
{
    for (const auto& [k, name] : kKinds)
        if (k == kind)
            return name;
    return "?";
}

std::optional<ItemKind> KindFromName(std::string_view name)
{
    for (const auto& [k, n] : kKinds)
        if (n == name)
            return k;
    return std::nullopt;
}

const std::u16string* ResourceModule::String(std::int16_t resID, std::int16_t index) const
{
    const auto list = strings.find(resID);
    if (list == strings.end())
        return nullptr;
    const auto s = list->second.find(index);
    return s == list->second.end() ? nullptr : &s->second;
}

const DialogTemplate* ResourceModule::Dialog(std::int16_t resID) const
{
    const auto it = dialogs.find(resID);
    return it == dialogs.end() ? nullptr : &it->second;
}

const MenuTemplate* ResourceModule::Menu(std::int16_t resID) const
{
    const auto it = menus.find(resID);
    return it == menus.end() ? nullptr : &it->second;
}

void ParseResourceText(std::string_view text, const std::string& fileName, ResourceModule& module)
{
    Parser parser(fileName, module);
    int number = 0;
    std::size_t start = 0;
    if (text.substr(0, 3) == "\xEF\xBB\xBF") // a byte-order mark some editors write
        start = 3;
    while (start < text.size()) {
        std::size_t end = text.find('\n', start);
        if (end == std::string_view::npos)
            end = text.size();
        parser.Line(text.substr(start, end - start), ++number);
        start = end + 1;
    }
    parser.Finish(number > 0 ? number : 1);
}

} // namespace kfhost
