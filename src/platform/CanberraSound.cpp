#include "platform/CanberraSound.h"

#include "core/Log.h"

#include <canberra.h>

CanberraSound::CanberraSound()
{
    if (ca_context_create(&m_context) != CA_SUCCESS)
        m_context = nullptr;
    else
        ca_context_change_props(m_context, CA_PROP_APPLICATION_NAME, "Quillmote Notifier", CA_PROP_APPLICATION_ID,
            "com.quillmote.Notifier", nullptr);
}

CanberraSound::~CanberraSound()
{
    if (m_context)
        ca_context_destroy(m_context);
}

void CanberraSound::playArrival()
{
    const int rc = m_context ? ca_context_play(
                       m_context, 0, CA_PROP_EVENT_ID, eventId, CA_PROP_EVENT_DESCRIPTION, "Quillmote message", nullptr)
                             : CA_ERROR_NOTAVAILABLE;
    if (rc != CA_SUCCESS && !m_reported) {
        m_reported = true;
        Log::emit(Log::Category::notch,
            QStringLiteral("notch: arrival sound failed (%1), going on without it")
                .arg(QString::fromUtf8(ca_strerror(rc))));
    }
}
