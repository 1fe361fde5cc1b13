#pragma once
/// \file
/// `LockState`, whether a session is locked, as far as is known.

namespace quendokit::dbus {

/// Puts together the two ways in which a session's locking is announced: by signals, which desktops and tools send, and
/// by a property, which not every desktop keeps. Each step answers whether the person has unlocked the session just
/// now.
class LockState {
public:
    /// Begins again with another session, or with what was missed.
    void begin(bool isLocked) {
        isLocked_ = isLocked;
        keepsHint_ = isLocked;
    }

    void didSignalLock() { isLocked_ = true; }

    [[nodiscard]] bool didSignalUnlock() {
        // Where the property is kept, a session that is open was unlocked before, and told so. Elsewhere a screen may
        // be locked without notice.
        const bool isNew = isLocked_ || !keepsHint_;
        isLocked_ = false;
        return isNew;
    }

    [[nodiscard]] bool didHint(bool isLocked) {
        keepsHint_ = keepsHint_ || isLocked;
        const bool isNew = isLocked_ && !isLocked;
        isLocked_ = isLocked;
        return isNew;
    }

    [[nodiscard]] bool isLocked() const noexcept { return isLocked_; }

private:
    bool isLocked_ = false;
    bool keepsHint_ = false;
};

}  // namespace quendokit::dbus
