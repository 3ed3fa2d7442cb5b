// Files of hundreds of megapixels: processor time and memory of whole processes, beside others.
//
// Usage: vellum_large FOLDER [RUNS [MEGAPIXELS]]
//
// The pictures are made in FOLDER when they are not there yet. RUNS, of which medians are printed,
// is 3 and MEGAPIXELS 600 when not given.

#include "jobs.h"
#include "process.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <initializer_list>

using namespace vellum::bench;

namespace {

using Command = std::vector<std::string>;

struct Program
{
    const char *name;
    Command command;
};

/// What one of our programs has to reach. 0 for nothing.
struct Asked
{
    const char *peer = ""; ///< a program of the same task
    double timesAsFast = 0; ///< as the peer
    bool realTime = false; ///< rather than processor time
    double mebibytes = 0; ///< at the peak
};

class Table
{
public:
    explicit Table(int runs) : m_runs(runs) { }

    /// Prints a line for each of \a programs, run in turns, and whether the first of them, or the
    /// one named \a who, reaches what is \a asked.
    void compare(const char *task, const std::vector<Program> &programs,
                 const std::vector<std::pair<const char *, Asked>> &asked)
    {
        std::vector<std::vector<Cost>> costs(programs.size());
        for (int run = 0; run < m_runs; ++run) {
            for (size_t i = 0; i < programs.size(); ++i)
                costs[i].push_back(runProcess(programs[i].command));
        }
        std::printf("%s\n", task);
        std::vector<Cost> medians;
        for (size_t i = 0; i < programs.size(); ++i) {
            medians.push_back(median(costs[i]));
            const Cost &cost = medians.back();
            if (cost.done)
                std::printf("  %-22s %8.2f s processor %8.2f s real %8.0f MiB\n", programs[i].name,
                            cost.processorSeconds, cost.realSeconds, cost.peakMebibytes);
            else
                std::printf("  %-22s cannot, or is not installed\n", programs[i].name);
        }
        const auto costOf = [&](const char *name) {
            for (size_t i = 0; i < programs.size(); ++i) {
                if (std::string(programs[i].name) == name)
                    return medians[i];
            }
            return Cost();
        };
        for (const auto &[who, what] : asked)
            judge(who, costOf(who), what, costOf(what.peer));
        std::fflush(stdout);
    }

private:
    static Cost median(const std::vector<Cost> &costs)
    {
        Cost result;
        result.done = std::all_of(costs.begin(), costs.end(), [](const Cost &c) { return c.done; });
        const auto of = [&](double Cost::*member) {
            std::vector<double> values;
            values.reserve(costs.size());
            for (const Cost &cost : costs)
                values.push_back(cost.*member);
            std::sort(values.begin(), values.end());
            return values[values.size() / 2];
        };
        result.processorSeconds = of(&Cost::processorSeconds);
        result.realSeconds = of(&Cost::realSeconds);
        result.peakMebibytes = of(&Cost::peakMebibytes);
        return result;
    }

    static void judge(const char *who, const Cost &ours, const Asked &asked, const Cost &peer)
    {
        if (asked.mebibytes > 0) {
            std::printf("    %s: at most %.0f MiB asked%s\n", who, asked.mebibytes,
                        ours.done && ours.peakMebibytes <= asked.mebibytes ? "" : "  MISSED");
        }
        if (asked.timesAsFast > 0 && peer.done) {
            const double speed = asked.realTime ? peer.realSeconds / ours.realSeconds
                                                : peer.processorSeconds / ours.processorSeconds;
            std::printf("    %s: %.2f times as fast as %s, %.2f asked%s\n", who, speed, asked.peer,
                        asked.timesAsFast,
                        ours.done && speed >= asked.timesAsFast ? "" : "  MISSED");
        }
    }

    int m_runs;
};

class Bench
{
public:
    Bench(QString folder, double megapixels, int runs)
        : m_folder(std::move(folder)), m_width(int(std::sqrt(megapixels * 1e6 * 1.5))),
          m_height(m_width / 3 * 2), m_table(runs)
    {
    }

    bool makeFiles()
    {
        if (!QDir().mkpath(m_folder))
            return false;
        // A sixth of the pixels is enough for what takes longest per pixel.
        const int width = int(m_width / std::sqrt(6.0));
        return makePicture(m_width, m_height,
                           {"large.jpg", "large.png", "large.tif", "large-tiled.tif"}) &&
            makePicture(width, width / 3 * 2, {"medium.tif"});
    }

    void run()
    {
        std::printf("\n%d x %d pixels of RGB, whole processes, medians\n", m_width, m_height);
        thumbnails("JPEG, 3000 pixels out of it", "large.jpg", 80);
        thumbnails("PNG, 3000 pixels out of it", "large.png", 100);
        thumbnails("TIFF, 3000 pixels out of it", "large.tif", 100);
        thumbnails("tiled TIFF, 3000 pixels out of it", "large-tiled.tif", 100);
        whole("JPEG, read", "large.jpg");
        whole("PNG, read", "large.png");
        whole("TIFF, read", "large.tif");
        crops();
        inks();
    }

private:
    std::string file(const char *name) const
    {
        return (m_folder + QLatin1Char('/')).toStdString() + name;
    }

    static Command job(std::initializer_list<std::string> arguments)
    {
        Command command {QCoreApplication::applicationFilePath().toStdString(), "--job"};
        command.insert(command.end(), arguments);
        return command;
    }

    bool makePicture(int width, int height, const std::vector<const char *> &names)
    {
        Command command = job({"make", std::to_string(width), std::to_string(height)});
        bool missing = false;
        for (const char *const name : names) {
            missing = missing || !QFile::exists(QString::fromStdString(file(name)));
            command.push_back(file(name));
        }
        if (!missing)
            return true;
        std::printf("Making a picture of %d x %d pixels\n", width, height);
        std::fflush(stdout);
        return runProcess(command).done;
    }

    void thumbnails(const char *task, const char *name, double mebibytes)
    {
        const std::string in = file(name);
        const std::string side = "3000";
        const std::string size = side + "x" + side;
        m_table.compare(
            task,
            {{"vellum", job({"thumbnail", in, file("thumbnail.jpg"), side})},
             {"QImageReader", job({"qt-thumbnail", in, file("thumbnail-qt.jpg"), side})},
             {"vipsthumbnail",
              {"vipsthumbnail", in, "--size", size, "-o", file("thumbnail-vips.jpg")}},
             {"gm convert",
              {"gm", "convert", "-size", size, in, "-thumbnail", size, file("thumbnail-gm.jpg")}}},
            {{"vellum", {"QImageReader", 1, false, mebibytes}}});
    }

    void whole(const char *task, const char *name)
    {
        const double pixels = 4.0 * m_width * m_height / (1 << 20);
        m_table.compare(
            task,
            {{"vellum", job({"read", file(name)})}, {"QImageReader", job({"qt-read", file(name)})}},
            {{"vellum", {"QImageReader", 0, false, 1.02 * pixels + 64}}});
    }

    void crops()
    {
        const std::string side = std::to_string(qMin(4000, m_height / 2));
        const std::string x = std::to_string(m_width / 2);
        const std::string y = std::to_string(m_height / 2);
        const std::string in = file("large.tif");
        m_table.compare("TIFF in strips, 4000 x 4000 pixels out of it",
                        {{"vellum", job({"crop", in, file("crop.tif"), x, y, side, side})},
                         {"vips", {"vips", "crop", in, file("crop-vips.tif"), x, y, side, side}}},
                        {{"vellum", {"vips", 1, false, 200}}});
    }

    void inks()
    {
        const std::string in = file("medium.tif");
        const std::string profile =
            (QCoreApplication::applicationDirPath() + QLatin1String("/share/color/icc/cmyk.icm"))
                .toStdString();
        m_table.compare("RGB TIFF to CMYK TIFF, a sixth of the pixels",
                        {{"vellum, one thread", job({"cmyk", in, file("cmyk.tif"), "1"})},
                         {"vellum, two threads", job({"cmyk", in, file("cmyk.tif"), "2"})},
                         {"tificc", {"tificc", "-t0", "-o", profile, in, file("cmyk-tificc.tif")}}},
                        {{"vellum, one thread", {"tificc", 1}},
                         {"vellum, two threads", {"tificc", 1.7, true}}});
    }

    QString m_folder;
    int m_width;
    int m_height;
    Table m_table;
};

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    const QStringList args = QCoreApplication::arguments().mid(1);
    if (args.value(0) == QLatin1String("--job"))
        return runJob(args.mid(1));
    const int runs = args.size() > 1 ? args[1].toInt() : 3;
    const double megapixels = args.size() > 2 ? args[2].toDouble() : 600;
    if (args.isEmpty() || runs < 1 || megapixels < 1) {
        std::fprintf(stderr, "usage: vellum_large FOLDER [RUNS [MEGAPIXELS]]\n");
        return 1;
    }
    const QString folder = args[0] + QLatin1Char('/') + QString::number(megapixels);
    Bench bench(folder, megapixels, runs);
    if (!bench.makeFiles()) {
        std::fprintf(stderr, "the pictures cannot be made in %s\n", qPrintable(folder));
        return 1;
    }
    bench.run();
    return 0;
}
