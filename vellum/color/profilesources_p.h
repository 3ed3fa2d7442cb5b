// Where ICC profiles come from: files of the profile folder, bytes in memory, lcms2 itself.
#pragma once

#include <vellum/color/owners_p.h>

#include <QByteArray>
#include <QString>

#include <mutex>

namespace vellum::color {

/// Names of the files in the profile folder.
constexpr char kCmykFile[] = "cmyk.icm";
constexpr char kXyzFile[] = "XYZ-D50-Identity-vorn-V4.icc";

/// Sets the folder under which "share/color/icc/" is looked for; used as it is, without a
/// separator added. Empty for the folder of the application.
void setProfileFolder(QString folder);

/// Path of the ICC file \a fileName. Before there is an application object its folder is unknown
/// and counts as empty.
[[nodiscard]] QString iccFilePath(const QString &fileName);

/// The profile in the file \a path; null when it cannot be read.
[[nodiscard]] Profile openProfileFile(const QString &path);

/// The "cmyk.icm" of the profile folder. Null when it cannot be read; a debug line then names it.
[[nodiscard]] Profile openCmykFile();

/// The bytes of that file. Empty when it is no profile; a debug line then names it.
[[nodiscard]] QByteArray readCmykFile();

/// The profile in \a icc, complete serialised bytes.
/// \return null when they are empty, damaged, or fewer than their header says: lcms2 would leave
///         out the tags that lie behind the end and go on with the others
[[nodiscard]] Profile openProfile(const QByteArray &icc);

/// The same of bytes that may be cut short, as lcms2 takes files: what is there counts.
[[nodiscard]] Profile openWhatIsThere(const QByteArray &icc);

/// The bytes of \a profile; empty when it is null or cannot be serialised.
[[nodiscard]] QByteArray serialised(const Profile &profile);

/// A version 2 Lab profile whose white point is x = 0.33, y = 0.33, Y = 1, not D50, serialised.
[[nodiscard]] QByteArray makeLabProfile();

/// The XYZ identity profile of the profile folder, serialised; empty when it cannot be read.
[[nodiscard]] QByteArray readXyzProfile();

/// Profile bytes that are fetched when first asked for, by any thread.
class ProfileCache
{
    Q_DISABLE_COPY(ProfileCache)

public:
    ProfileCache() = default;
    ~ProfileCache() = default;

    /// The bytes. While there are none, \a fetch is asked for them, at every call. It runs
    /// without the lock, since it may write messages and so call whatever handles those.
    template <typename Fetch>
    QByteArray get(Fetch fetch)
    {
        if (const QByteArray known = bytes(); !known.isEmpty())
            return known;
        QByteArray fetched = fetch();
        const std::lock_guard lock(m_mutex);
        if (m_bytes.isEmpty()) // or another thread, or set(), was faster
            m_bytes.swap(fetched);
        return m_bytes;
    }

    void set(QByteArray profile)
    {
        const std::lock_guard lock(m_mutex);
        m_bytes.swap(profile);
    }

private:
    QByteArray bytes()
    {
        const std::lock_guard lock(m_mutex);
        return m_bytes;
    }

    std::mutex m_mutex; // not Qt's, whose locking a ThreadSanitizer cannot see
    QByteArray m_bytes;
};

} // namespace vellum::color
