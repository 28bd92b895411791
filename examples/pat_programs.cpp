#include <torvelsi/IPATParser.h>
#include <torvelsi/ISectionManager.h>
#include <tvservice/SoftwarePlatform.h>
#include <cstdio>
#include <cstdlib>
#include <thread>

struct Programs : TORVEL_MW::ISectionObserver {
    std::unique_ptr<TORVEL_MW::IPATParser> pat = TORVEL_MW::IPATParser::CreatePATParser();
    std::map<int, int> programs;
    void OnSectionReceived(unsigned short, unsigned short pid, unsigned short,
                           unsigned char* data) override {
        if (pat->Parse(pid, data) && pat->IsComplete()) {
            pat->GetProgramList(programs);
            for (auto& item : programs)
                std::printf("%d: PID %d\n", item.first, item.second);
            std::fflush(stdout);
            std::quick_exit(EXIT_SUCCESS);  // returning from main would end in SIGABRT
        }
    }
    void OnSectionTimeout(unsigned int) override { std::quick_exit(EXIT_FAILURE); }
} observer;
int main(int argc, char** argv) {
    std::string error;
    tvservice::SoftwarePlatform::Instance().Start();
    TORVEL_MW::ISectionManager::Instance()->Subscribe(
        0x0000, 0x00, observer, TORVEL_MW::ISectionManager::EContinuous, 5000, false);
    const auto source = tvservice::OpenSource(argv[argc - 1], error);
    if (!tvservice::SoftwarePlatform::Instance().Play(source)) {
        std::fprintf(stderr, "%s\n", error.c_str());
        std::quick_exit(EXIT_FAILURE);
    }
    std::this_thread::sleep_for(std::chrono::seconds(9));  // the observer ends the program
}
