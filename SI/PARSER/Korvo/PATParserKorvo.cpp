#include "SI/PARSER/Korvo/PATParserKorvo.h"

#include "SI/Common/Log.h"
#include "platform/TVSHandle.h"

namespace TORVEL_MW {

std::unique_ptr<IPATParser> IPATParser::CreatePATParser() {
    std::unique_ptr<IPATParser> parser = std::make_unique<CPATParserKorvo>();
    parser->Create();
    return parser;
}

bool CPATParserKorvo::Create() {
    m_Parser = std::make_unique<TCPATParser>(TVSHandle(1, 0));
    return true;
}

bool CPATParserKorvo::Parse(unsigned short pid, unsigned char* data) {
    if (!m_Parser) {
        return false;
    }
    return m_Parser->Parse(static_cast<short>(pid), data);
}

void CPATParserKorvo::Initialize() {
    SI_LOG(LOG_PRIORITY_INFO, "\033[32mCPATParserKorvo::%s\033[0m", __func__);
    if (m_Parser) {
        m_Parser->Reset();
    }
}

bool CPATParserKorvo::IsComplete() {
    if (!m_Parser) {
        SI_LOG(LOG_PRIORITY_ERROR, "\033[31mCPATParserKorvo::%s parser error (null)\033[0m",
               __func__);
        return false;
    }
    return m_Parser->IsValid();
}

void CPATParserKorvo::GetProgramList(std::map<int, int>& programs) {
    for (int index = 0; index < NumOfProgramList(); ++index) {
        const int programNumber = ProgramNumber(index);
        if (programNumber == 0) {  // ISO/IEC 13818-1 2.4.4.5: the network PID
            continue;
        }
        const int pid = ProgramPID(programNumber);
        if (pid == 0) {
            continue;
        }
        programs[programNumber] = pid;
    }
}

int CPATParserKorvo::NumOfProgramList() {
    return m_Parser ? m_Parser->NumOfProgramList() : 0;
}

int CPATParserKorvo::ProgramNumber(int index) {
    return m_Parser ? m_Parser->ProgramNumber(static_cast<unsigned int>(index)) : 0;
}

int CPATParserKorvo::ProgramPID(int programNumber) {
    return m_Parser ? m_Parser->ProgramPID(static_cast<unsigned short>(programNumber)) : 0;
}

unsigned int CPATParserKorvo::TransportStreamId() {
    return m_Parser ? m_Parser->TransportStreamId() : 0;
}

}  // namespace TORVEL_MW
