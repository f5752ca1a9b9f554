// Frames displayed per second, CPU time per frame and the delay from a picture's submission to
// its being drawn, for the render library fed by StreamServer at 60 pictures per second.
// Runs against the X server in DISPLAY (xvfb-run -a bench_render). The server runs in a child
// process, so that the CPU time counted here is the viewer's alone.
//
//   bench_render [seconds per case, default 5]

#include "openglrender.h"
#include "streamserver.h"

#include <X11/Xlib.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>
#include <vector>

namespace {

constexpr int kRate = 60;
constexpr int kMaxFrames = 1 << 16;
constexpr int kPort = 25000;

uint64_t nowMicros()
{
    timespec ts{};
    clock_gettime(CLOCK_MONOTONIC, &ts);
    return uint64_t(ts.tv_sec) * 1000000u + uint64_t(ts.tv_nsec) / 1000u;
}

double cpuSeconds(clockid_t clock)
{
    timespec ts{};
    clock_gettime(clock, &ts);
    return double(ts.tv_sec) + double(ts.tv_nsec) * 1e-9;
}

// A scrolling list, like a phone's: items of flat colour with lines of "text" on them.
struct Page {
    int width;
    int height;
    std::vector<uint32_t> pixels; // BGRA as 0xAARRGGBB

    Page(int w, int h) : width(w), height(h), pixels(size_t(w) * size_t(h))
    {
        uint32_t noise = 12345;
        for (int y = 0; y < h; ++y) {
            const int item = y / 160, inItem = y % 160;
            const uint32_t background = item % 2 ? 0xfff4f4f4 : 0xffffffff;
            for (int x = 0; x < w; ++x) {
                uint32_t value = background;
                const bool textLine = (inItem > 40 && inItem < 60) || (inItem > 90 && inItem < 104);
                if (textLine && x > w / 8 && x < w * 7 / 8) {
                    noise = noise * 1103515245u + 12345u;
                    value = (noise >> 16) % 3 ? background : 0xff202020;
                }
                if (inItem == 159)
                    value = 0xffd0d0d0;
                pixels[size_t(y) * size_t(w) + size_t(x)] = value;
            }
        }
    }
};

struct Shared {
    std::atomic<uint64_t> submitted[kMaxFrames];
    std::atomic<int> ready;
};

// Child: serves `seconds` of pictures; in the partial case only a band of the screen scrolls.
void serve(Shared *shared, const char *address, int width, int height, bool full, double seconds)
{
    StreamServer server;
    if (!server.start(address, kPort))
        _exit(1);
    const Page page(width, height * 2);
    std::vector<uint32_t> frame(size_t(width) * size_t(height));
    std::copy(page.pixels.begin(), page.pixels.begin() + long(frame.size()), frame.begin());
    const int bandTop = full ? 0 : height / 3, bandRows = full ? height : height / 4;
    shared->ready = 1;
    const int frames = std::min(kMaxFrames - 1, int(seconds * kRate));
    timespec next{};
    clock_gettime(CLOCK_MONOTONIC, &next);
    for (int index = 1; index <= frames; ++index) {
        const int scroll = (index * 8) % height;
        for (int r = 0; r < bandRows; ++r)
            std::memcpy(&frame[size_t(bandTop + r) * size_t(width)],
                        &page.pixels[size_t(bandTop + r + scroll) * size_t(width)], size_t(width) * 4);
        frame[0] = 0xff000000u | uint32_t(index); // the frame's number, read back by the viewer
        shared->submitted[index] = nowMicros();
        server.submitFrame(reinterpret_cast<const uint8_t *>(frame.data()), width, height, width * 4,
                           StreamServer::PixelLayout::Bgra);
        next.tv_nsec += 1000000000 / kRate;
        if (next.tv_nsec >= 1000000000) {
            next.tv_nsec -= 1000000000;
            ++next.tv_sec;
        }
        clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &next, nullptr);
    }
    _exit(0);
}

struct Viewer {
    Shared *shared = nullptr;
    std::mutex mutex;
    int lastIndex = 0;
    int frames = 0;
    std::vector<double> delaysMs;
    bool measuring = false;
};

void onFrame(void *context, int, int, int, int, int, unsigned char *pixels)
{
    auto *viewer = static_cast<Viewer *>(context);
    uint32_t first;
    std::memcpy(&first, pixels, 4);
    const int index = int(first & 0xffffff);
    std::lock_guard<std::mutex> lock(viewer->mutex);
    if (index == viewer->lastIndex || index <= 0 || index >= kMaxFrames)
        return;
    viewer->lastIndex = index;
    if (!viewer->measuring)
        return;
    ++viewer->frames;
    viewer->delaysMs.push_back(double(nowMicros() - viewer->shared->submitted[index]) / 1000.0);
}

double percentile(std::vector<double> values, double p)
{
    if (values.empty())
        return 0;
    std::sort(values.begin(), values.end());
    return values[std::min(values.size() - 1, size_t(p * double(values.size())))];
}

void runCase(Display *display, int width, int height, bool full, double seconds, int caseNumber)
{
    auto *shared = static_cast<Shared *>(
        mmap(nullptr, sizeof(Shared), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
    char address[32];
    std::snprintf(address, sizeof address, "127.0.4.%d", 100 + caseNumber);
    const double warmup = 1.0;
    const pid_t child = fork();
    if (child == 0)
        serve(shared, address, width, height, full, seconds + warmup + 0.5);
    while (!shared->ready)
        usleep(1000);

    // The window shows the device at half size, as a player on a laptop screen would.
    const int windowWidth = width / 2, windowHeight = height / 2;
    const Window window = XCreateSimpleWindow(display, DefaultRootWindow(display), 0, 0, unsigned(windowWidth),
                                              unsigned(windowHeight), 0, 0, 0);
    XMapWindow(display, window);
    XSync(display, False);

    Viewer viewer;
    viewer.shared = shared;
    Sylvane_setVMIP(address);
    if (Sylvane_initOpenGLRenderer(width, height, kPort, 0, 0) != 0
        || !Sylvane_FrameBuffer_setupSubWindow(window, 0, 0, windowWidth, windowHeight, 0.f)) {
        std::fprintf(stderr, "renderer did not start\n");
        std::exit(1);
    }
    Sylvane_setViewport(width, height);
    Sylvane_registerOGLCallback(onFrame, &viewer);

    usleep(useconds_t(warmup * 1e6));
    const double cpuBefore = cpuSeconds(CLOCK_PROCESS_CPUTIME_ID);
    const uint64_t wallBefore = nowMicros();
    {
        std::lock_guard<std::mutex> lock(viewer.mutex);
        viewer.measuring = true;
    }
    usleep(useconds_t(seconds * 1e6));
    {
        std::lock_guard<std::mutex> lock(viewer.mutex);
        viewer.measuring = false;
    }
    const double wall = double(nowMicros() - wallBefore) / 1e6;
    const double cpu = cpuSeconds(CLOCK_PROCESS_CPUTIME_ID) - cpuBefore;

    int status = 0;
    waitpid(child, &status, 0);
    rusage server{};
    getrusage(RUSAGE_CHILDREN, &server);
    static double serverCpuSoFar = 0;
    const double serverCpu = double(server.ru_utime.tv_sec + server.ru_stime.tv_sec)
                             + double(server.ru_utime.tv_usec + server.ru_stime.tv_usec) * 1e-6 - serverCpuSoFar;
    serverCpuSoFar += serverCpu;

    Sylvane_registerOGLCallback(nullptr, nullptr);
    Sylvane_shutdown();
    XDestroyWindow(display, window);
    XSync(display, False);

    std::lock_guard<std::mutex> lock(viewer.mutex);
    const int frames = std::max(viewer.frames, 1);
    const int served = int((seconds + warmup + 0.5) * kRate);
    std::printf("%4dx%-4d %-8s %6.1f fps  %6.2f ms CPU/frame (viewer)  %6.2f ms CPU/frame (server)  "
                "delay ms: median %5.1f  p95 %5.1f  max %5.1f\n",
                width, height, full ? "full" : "partial", viewer.frames / wall, cpu * 1000.0 / frames,
                serverCpu * 1000.0 / served, percentile(viewer.delaysMs, 0.5), percentile(viewer.delaysMs, 0.95),
                percentile(viewer.delaysMs, 1.0));
    std::fflush(stdout);
    munmap(shared, sizeof(Shared));
}

} // namespace

int main(int argc, char **argv)
{
    const double seconds = argc > 1 ? std::atof(argv[1]) : 5.0;
    Display *display = XOpenDisplay(nullptr);
    if (!display || !Sylvane_initLibrary()) {
        std::fprintf(stderr, "needs an X display with GL (run under xvfb-run -a)\n");
        return 1;
    }
    std::printf("pictures submitted at %d per second; window at half the device's size; "
                "delay = submission to drawn\n",
                kRate);
    int caseNumber = 0;
    for (const auto &size : {std::pair<int, int>{720, 1280}, std::pair<int, int>{1080, 1920}}) {
        runCase(display, size.first, size.second, false, seconds, ++caseNumber);
        runCase(display, size.first, size.second, true, seconds, ++caseNumber);
    }
    XCloseDisplay(display);
    return 0;
}
