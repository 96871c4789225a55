#include "kfhost/qt/RowList.hpp"

#include <QApplication>
#include <QPainter>
#include <QStyledItemDelegate>

#include <algorithm>

namespace kfhost::qt {
namespace {

// Tab field flags of the dialog manager.
constexpr std::int16_t kCenter = 1;
constexpr std::int16_t kRight = 2;
constexpr std::int16_t kTruncEnd = 4096;
constexpr std::int16_t kTruncMiddle = 8192;

class RowDelegate final : public QStyledItemDelegate {
public:
    explicit RowDelegate(RowList& list) : QStyledItemDelegate(&list), list_(list) {}

    void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override
    {
        QStyleOptionViewItem opt = option;
        initStyleOption(&opt, index);
        const QWidget* widget = opt.widget;
        QStyle* style = widget ? widget->style() : QApplication::style();
        opt.text.clear();
        opt.icon = QIcon();
        style->drawPrimitive(QStyle::PE_PanelItemViewItem, &opt, painter, widget);

        const QStringList texts = index.data(RowList::TextsRole).toStringList();
        const QPixmap icon = index.data(Qt::DecorationRole).value<QPixmap>();
        std::vector<TabField> fields = list_.Tabs();
        if (fields.empty())
            fields.push_back(TabField{0, std::int16_t(opt.rect.width()), 0, kTruncEnd, false, false});

        const QPalette::ColorGroup group = (opt.state & QStyle::State_Enabled) ? QPalette::Normal : QPalette::Disabled;
        const bool selected = opt.state & QStyle::State_Selected;
        painter->save();
        painter->setPen(opt.palette.color(group, selected ? QPalette::HighlightedText : QPalette::Text));
        for (std::size_t f = 0; f < fields.size(); ++f) {
            const TabField& field = fields[f];
            QRect cell(opt.rect.left() + field.begPos, opt.rect.top(), std::max(0, field.endPos - field.begPos),
                       opt.rect.height());
            // The row's own text shows in the first field unless that field has a text of its own.
            QString text = f + 1 < std::size_t(texts.size()) ? texts[int(f + 1)] : QString();
            if (f == 0) {
                if (text.isEmpty() && !texts.isEmpty())
                    text = texts[0];
                if (!icon.isNull()) {
                    const QSize size = icon.deviceIndependentSize().toSize();
                    painter->drawPixmap(QPoint(cell.left() + 2, cell.top() + (cell.height() - size.height()) / 2),
                                        icon);
                    cell.setLeft(cell.left() + size.width() + 8);
                }
            }
            const Qt::TextElideMode elide = field.truncation & kTruncMiddle ? Qt::ElideMiddle
                                            : field.truncation & kTruncEnd  ? Qt::ElideRight
                                                                            : Qt::ElideNone;
            const int align = field.justification == kRight    ? Qt::AlignRight
                              : field.justification == kCenter ? Qt::AlignHCenter
                                                               : Qt::AlignLeft;
            const QRect textRect = cell.adjusted(2, 0, -2, 0);
            const QString shown =
                elide == Qt::ElideNone ? text : opt.fontMetrics.elidedText(text, elide, textRect.width());
            painter->save();
            painter->setClipRect(cell);
            painter->drawText(textRect, align | Qt::AlignVCenter | Qt::TextSingleLine, shown);
            painter->restore();
            if (field.separator)
                painter->drawLine(cell.right(), cell.top(), cell.right(), cell.bottom());
        }
        painter->restore();
    }

    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override
    {
        if (list_.RowHeight() > 0)
            return QSize(option.rect.width(), list_.RowHeight());
        const QPixmap icon = index.data(Qt::DecorationRole).value<QPixmap>();
        const int iconHeight = icon.isNull() ? 0 : icon.deviceIndependentSize().toSize().height();
        return QSize(option.rect.width(), std::max(option.fontMetrics.height(), iconHeight) + 4);
    }

private:
    RowList& list_;
};

bool SameRows(const std::vector<ListRow>& a, const std::vector<ListRow>& b)
{
    return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](const ListRow& x, const ListRow& y) {
               return x.texts == y.texts && x.iconResID == y.iconResID;
           });
}

} // namespace

RowList::RowList(QWidget* parent) : QListWidget(parent)
{
    setItemDelegate(new RowDelegate(*this));
    setSelectionMode(QAbstractItemView::SingleSelection);
    setUniformItemSizes(true);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    connect(this, &QListWidget::itemSelectionChanged, [this] {
        if (updating_)
            return;
        if (const std::int16_t row = SelectedRow(); row > 0 && onSelect)
            onSelect(row);
    });
}

void RowList::SetRows(const std::vector<ListRow>& rows, const std::vector<TabField>& tabs, std::int16_t rowHeight,
                      const std::function<QPixmap(std::int16_t)>& icon)
{
    updating_ = true;
    const bool layoutChanged =
        rowHeight != rowHeight_ || tabs.size() != tabs_.size() ||
        !std::equal(tabs.begin(), tabs.end(), tabs_.begin(), [](const TabField& a, const TabField& b) {
            return a.begPos == b.begPos && a.endPos == b.endPos && a.justification == b.justification &&
                   a.truncation == b.truncation && a.separator == b.separator;
        });
    tabs_ = tabs;
    rowHeight_ = rowHeight;
    if (layoutChanged || !SameRows(rows, rows_)) {
        clear();
        for (const ListRow& row : rows) {
            auto* entry = new QListWidgetItem(this);
            QStringList texts;
            for (const auto& t : row.texts)
                texts << QString::fromStdU16String(t);
            entry->setData(TextsRole, texts);
            entry->setData(IconIDRole, int(row.iconResID));
            entry->setData(Qt::DisplayRole, texts.size() > 1 && !texts[1].isEmpty() ? texts[1] : texts.value(0));
            if (row.iconResID != 0)
                entry->setData(Qt::DecorationRole, icon(row.iconResID));
        }
        doItemsLayout();
    }
    for (std::size_t i = 0; i < rows.size(); ++i) {
        QListWidgetItem* entry = item(int(i));
        if (entry->isSelected() != rows[i].selected)
            entry->setSelected(rows[i].selected);
        if (rows[i].selected && currentRow() != int(i)) {
            setCurrentItem(entry, QItemSelectionModel::NoUpdate);
            scrollToItem(entry);
        }
    }
    rows_ = rows;
    updating_ = false;
}

std::int16_t RowList::SelectedRow() const
{
    for (int i = 0; i < count(); ++i)
        if (item(i)->isSelected())
            return std::int16_t(i + 1);
    return 0;
}

QStringList RowList::RowTexts(int row) const
{
    const QListWidgetItem* entry = item(row);
    return entry ? entry->data(TextsRole).toStringList() : QStringList();
}

} // namespace kfhost::qt
