// A dialog list box: rows of an icon and texts laid out in the list's tab fields (begin and end
// positions, justification, truncation, separators) at the row height the add-on sets.
#pragma once

#include "kfhost/Dialogs.hpp"

#include <QListWidget>
#include <QPixmap>

#include <cstdint>
#include <functional>
#include <vector>

namespace kfhost::qt {

class RowList final : public QListWidget {
public:
    enum Role { TextsRole = Qt::UserRole + 1, IconIDRole };

    explicit RowList(QWidget* parent);

    // Shows rows (icons looked up by the caller) under tabs; the selection follows the rows'.
    void SetRows(const std::vector<ListRow>& rows, const std::vector<TabField>& tabs, std::int16_t rowHeight,
                 const std::function<QPixmap(std::int16_t)>& icon);
    const std::vector<TabField>& Tabs() const { return tabs_; }
    std::int16_t RowHeight() const { return rowHeight_; }
    // 1-based, 0 when none.
    std::int16_t SelectedRow() const;
    // The texts a row shows: [0] its text, then one per tab field.
    QStringList RowTexts(int row) const;

    // A row chosen by the user (1-based); not called for changes made by SetRows.
    std::function<void(std::int16_t row)> onSelect;

private:
    std::vector<ListRow> rows_;
    std::vector<TabField> tabs_;
    std::int16_t rowHeight_ = 0;
    bool updating_ = false;
};

} // namespace kfhost::qt
