// One bar for a whole job, however many files it has and however many are worked on at a time.
#pragma once

#include <QElapsedTimer>
#include <QString>

#include <atomic>
#include <mutex>
#include <vector>

namespace vellum::tool {

/// Shown as a bar on standard error or as JSON lines on standard output, ten times a second at
/// most. Each file counts the same.
///
/// Thread-safe, but for entries: each belongs to the one who adds it.
class ProgressBoard
{
    Q_DISABLE_COPY(ProgressBoard)

public:
    enum class Mode {
        Auto, ///< Bar if standard error is a terminal, else None
        Bar,
        Json,
        None,
    };

    /// A file that is being worked on.
    struct Entry
    {
        QString name;
        const char *stage = ""; ///< what is being done
        int percent = 0; ///< of the file
    };

    explicit ProgressBoard(Mode mode, int files = 1);
    ~ProgressBoard(); ///< Removes a bar that did not get to the end.

    void add(Entry &entry);
    void remove(Entry &entry); ///< The file counts as done from now on, whatever became of it.

    /// A stage begins at \a percent. Shown at once when there is only one file.
    void begin(Entry &entry, const char *stage, int percent);

    void report(Entry &entry, int percent);

    /// All is done: shows 100 percent and the time taken.
    void finish();

private:
    bool isTime() const;
    void show(const Entry &entry); // from here on with m_mutex locked
    void print(const Entry &entry, int percent);
    int percentOfAll() const;
    QByteArray bar(const Entry &entry, int percent) const;
    QByteArray jsonLine(const Entry &entry, int percent) const;
    double secondsLeft(int percent) const;

    const Mode m_mode;
    const int m_files;
    QElapsedTimer m_clock;
    std::atomic<qint64> m_shownAt {0}; // milliseconds of m_clock
    std::mutex m_mutex; // guards what follows
    std::vector<const Entry *> m_entries;
    int m_done = 0; // files
    QString m_lastName;
    int m_shownPercent = -1;
};

} // namespace vellum::tool
