// One dialog of the model as a window: its items as widgets at the places and sizes the resource
// gives, brought up to date from the model by Sync. Item widgets are named "item<N>" (tests find
// them by that name).
#pragma once

#include "kfhost/Dialogs.hpp"

#include <QDialog>

#include <cstdint>
#include <string>
#include <vector>

class QEventLoop;

namespace kfhost::qt {

class QtBackend;
class RowList;

class DialogWindow final : public QDialog {
public:
    DialogWindow(QtBackend& backend, const Dialog& dialog, QWidget* parent);

    std::int16_t DialogID() const { return dialogID_; }
    std::int16_t ResID() const { return resID_; }

    // Brings title, size and every item's text, state and rows up to date with the model.
    void Sync(const Dialog& dialog);
    // What the window shows, item by item, differs from the model: the first difference, else "".
    std::string Disagreement(const Dialog& dialog) const;
    // The model state of the last Sync, as text: equal signatures look the same.
    const std::string& Signature() const { return signature_; }

    QWidget* ItemWidget(std::int16_t item) const;
    RowList* List(std::int16_t item) const;

    // The picture last taken of this window (its signature then).
    std::string capturedSignature;

protected:
    void closeEvent(QCloseEvent* event) override;
    void reject() override; // Escape: the close box

private:
    void Build(const Dialog& dialog);

    QtBackend& backend_;
    std::int16_t dialogID_;
    std::int16_t resID_;
    std::int32_t resModule_;
    std::vector<QWidget*> items_; // [number - 1]
    std::int16_t appliedFocus_ = 0;
    std::string signature_;
};

} // namespace kfhost::qt
