#pragma once

#include "alerts/NotchPanel.h"

#include <QList>
#include <QRect>

// Records what the controller asked of the window.
class FakePanel : public NotchPanel
{
public:
    struct Record {
        bool visible = false;
        bool focus = false;
        int orderOuts = 0;
        QList<bool> focusRequests;
        QRect frame;
    };
    explicit FakePanel(Record &record)
        : m_r(record)
    {
    }
    void orderFront(const QRect &frame) override
    {
        m_r.visible = true;
        m_r.frame = frame;
    }
    void orderOut() override
    {
        m_r.visible = false;
        ++m_r.orderOuts;
    }
    void setFrame(const QRect &frame) override { m_r.frame = frame; }
    void setKeyboardFocus(bool wanted) override
    {
        m_r.focus = wanted;
        m_r.focusRequests.append(wanted);
    }
    bool isVisible() const override { return m_r.visible; }

private:
    Record &m_r;
};
