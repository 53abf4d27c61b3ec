#pragma once

#include "state/SessionListModel.h"
#include "ui/ConversationModel.h"

#include <QObject>
#include <QPointer>
#include <QTimer>
#include <QVariantList>
#include <QtQml/qqmlregistration.h>

class AppState;
class ContentImageProvider;
class StateClient;

// What the main window's views read: the sidebar and conversation models, the detail
// selection, the own profile and, while the state server is unreachable, the offline
// view's launch state. Without a state client (the sample-data preview) it never goes
// offline. The views only call the invokables below; every decision is made here.
class MainViewModel : public QObject
{
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("The main window controller owns its view model")
    Q_PROPERTY(bool offline READ offline NOTIFY offlineChanged)
    Q_PROPERTY(bool launching READ launching NOTIFY launchChanged)
    Q_PROPERTY(QString launchError READ launchError NOTIFY launchChanged)
    // "none", "conversation" or "profile"
    Q_PROPERTY(QString detail READ detail NOTIFY selectionChanged)
    Q_PROPERTY(QString selectedPeer READ selectedPeer NOTIFY selectionChanged)
    Q_PROPERTY(QString selectedFingerprint READ selectedFingerprint NOTIFY selectionChanged)
    Q_PROPERTY(QString searchText READ searchText WRITE setSearchText NOTIFY searchTextChanged)
    Q_PROPERTY(SessionListModel *sessions READ sessions CONSTANT)
    Q_PROPERTY(ConversationModel *conversation READ conversation CONSTANT)
    Q_PROPERTY(QString selfHandle READ selfHandle NOTIFY profileChanged)
    Q_PROPERTY(QString selfFingerprint READ selfFingerprint NOTIFY profileChanged)
    // [{handle, initials, fingerprint, status, note}]
    Q_PROPERTY(QVariantList pending READ pending NOTIFY profileChanged)
    // Contacts whose status is "connected" (or who have none), and the others.
    Q_PROPERTY(QVariantList contacts READ contacts NOTIFY profileChanged)
    Q_PROPERTY(QVariantList otherContacts READ otherContacts NOTIFY profileChanged)
public:
    MainViewModel(AppState &state, StateClient *client, ContentImageProvider *images, QObject *parent = nullptr);
    ~MainViewModel() override;

    bool offline() const;
    bool launching() const { return m_launching; }
    QString launchError() const { return m_launchError; }
    QString detail() const;
    QString selectedPeer() const;
    QString selectedFingerprint() const;
    QString searchText() const;
    void setSearchText(const QString &text);
    SessionListModel *sessions() const { return m_sessions; }
    ConversationModel *conversation() const { return m_conversation; }
    QString selfHandle() const;
    QString selfFingerprint() const;
    QVariantList pending() const;
    QVariantList contacts() const;
    QVariantList otherContacts() const;

    // Fingerprint text in blocks of four, whatever spacing it came with.
    static QString groupsOfFour(const QString &fingerprint);
    // A contact's status as the profile shows it: "已连接", "待对方确认", or the status itself.
    static QString statusText(const QString &status);

    Q_INVOKABLE void selectConversation(const QString &peer);
    Q_INVOKABLE void openProfile();
    // The offline view's button: asks the state client for a running server.
    Q_INVOKABLE void launchServer();
    Q_INVOKABLE void openPreferences();

Q_SIGNALS:
    void offlineChanged();
    void launchChanged();
    void selectionChanged();
    void searchTextChanged();
    void profileChanged();
    // The offline view's preferences link.
    void openPreferencesRequested();

private:
    void followSelection();
    void scheduleNewDay();

    AppState &m_state;
    QPointer<StateClient> m_client;
    SessionListModel *m_sessions;
    ConversationModel *m_conversation;
    QTimer m_newDay; // fires just after local midnight
    bool m_launching = false;
    QString m_launchError;
};
