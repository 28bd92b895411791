// Uses the service library without the SI layer: requests the PAT and exits with success when one
// comes.

#include <tvservice/ISectionSubscriber.h>
#include <tvservice/SoftwarePlatform.h>
#include <tvservice/TCSectionCriteriaHelper.h>
#include <tvservice/TVServiceAPI.h>

#include <atomic>
#include <string>

static std::atomic<int> s_sections{0};

static void OnSection(bool, unsigned short length, unsigned char* data, int id) {
    s_sections += id == 7 && length > 8 && data[0] == 0x00;
}

int main(int, char** argv) {
    tvservice::SoftwarePlatform& platform = tvservice::SoftwarePlatform::Instance();
    platform.Start();
    ISectionSubscriber* subscriber = nullptr;
    TVServiceAPI::CreateSectionSubscriber(OnSection, PROFILE_MAIN, 0, &subscriber);
    TCSectionCriteriaHelper criteria;
    criteria.m_pid = 0x0000;
    criteria.m_tableId = 0x00;
    criteria.m_selector = 2;
    criteria.m_flag = 1;
    int handle = -1;
    if (subscriber == nullptr || subscriber->SubscribeTable(7, &criteria, &handle) != 1) {
        return 1;
    }
    std::string error;
    platform.Play(tvservice::OpenSource(argv[1], error));
    platform.WaitEnd();
    platform.Stop();
    return s_sections > 0 ? 0 : 1;
}
