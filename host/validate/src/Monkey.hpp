// The dialog backend of a validation run: plays a user who tries every item of every dialog in a
// seeded order, within a budget of actions per call, and then closes what is still open.
#pragma once

#include "kfhost/Host.hpp"

#include <random>
#include <string>
#include <vector>

namespace kfhost::validate {

class Monkey final : public DialogBackend {
public:
    Monkey(Host& host, std::mt19937_64& rng, bool passive) : host_(host), rng_(rng), passive_(passive) {}

    void Shown(Dialog& dialog) override;
    void RunModal(Dialog& dialog) override { Drive(dialog.id); }
    void Closed(Dialog&) override {}
    std::int16_t Alert(const AlertRequest& alert) override;
    std::optional<FileAnswer> ChooseFile(const FileRequest&) override { return std::nullopt; }
    std::optional<std::u16string> ChooseFolder(const FolderRequest&) override { return std::nullopt; }

    // A fresh budget of actions for the next call.
    void NewCall(int actions) { budget_ = actions; }
    // Drives and closes the modeless dialogs shown since the last time.
    void DriveModeless();
    int Alerts() const { return alerts_; }
    // The large text of the last alert (UTF-8).
    const std::string& LastAlert() const { return lastAlert_; }
    int DialogsShown() const { return shown_; }

private:
    void Drive(std::int16_t id);
    void Act(Dialog& dialog, const DialogItem& item);

    Host& host_;
    std::mt19937_64& rng_;
    bool passive_;
    int budget_ = 0;
    int alerts_ = 0;
    std::string lastAlert_;
    int shown_ = 0;
    std::vector<std::int16_t> modeless_;
};

} // namespace kfhost::validate
