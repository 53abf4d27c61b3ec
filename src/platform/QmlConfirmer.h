#pragma once

#include "intents/Confirmer.h"

#include <QObject>
#include <QPointer>
#include <QQuickWindow>
#include <QtQml/qqmlregistration.h>

#include <memory>

class QQmlEngine;

// One question to the user, as the dialog sees it: the text, the confirm button's label,
// and answer() for the buttons. Answers once; later calls are ignored.
class ConfirmationRequest : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("QmlConfirmer makes the requests")
    Q_PROPERTY(QString text READ text CONSTANT)
    Q_PROPERTY(QString confirmLabel READ confirmLabel CONSTANT)
public:
    ConfirmationRequest(const QString &text, const QString &confirmLabel, QObject *parent = nullptr);
    QString text() const { return m_text; }
    QString confirmLabel() const { return m_confirmLabel; }

    Q_INVOKABLE void answer(bool accepted);

Q_SIGNALS:
    void answered(bool accepted);

private:
    QString m_text;
    QString m_confirmLabel;
    bool m_done = false;
};

// The confirmation as a small modal window of the app with "取消" and the confirm button.
// It has a QML engine of its own, made on first use, so it needs no other view loaded.
class QmlConfirmer : public QObject, public Confirmer
{
    Q_OBJECT
public:
    explicit QmlConfirmer(QObject *parent = nullptr);
    ~QmlConfirmer() override;

    void ask(const QString &text, const QString &confirmLabel, std::function<void(bool)> done) override;

    // The dialog on screen (the newest when several actions wait), for tests.
    QQuickWindow *currentWindow() const { return m_current; }

private:
    std::unique_ptr<QQmlEngine> m_engine;
    QPointer<QQuickWindow> m_current;
};
