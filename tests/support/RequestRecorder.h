#pragma once

#include <QQmlComponent>
#include <QQmlEngine>
#include <QQuickItem>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTest>

// An HTTP server on 127.0.0.1 that only takes notes: every connection and the path of
// every request, each answered 404. Tests put its URLs into untrusted text and check that
// nothing ever came.
//
// Proving that nothing came needs a moment to have passed in which something would have
// come: control() loads a picture through the same engine, and once that request has
// arrived every load the engine started before it has had its turn.
class RequestRecorder : public QObject
{
public:
    QStringList paths;
    int connections = 0;

    bool listen()
    {
        connect(&m_server, &QTcpServer::newConnection, this, [this] {
            while (QTcpSocket *socket = m_server.nextPendingConnection()) {
                ++connections;
                socket->setParent(this);
                connect(socket, &QTcpSocket::readyRead, socket, [this, socket] {
                    if (!socket->canReadLine())
                        return;
                    const QList<QByteArray> line = socket->readLine().split(' ');
                    paths.append(QString::fromLatin1(line.value(1)));
                    socket->write("HTTP/1.1 404 Not Found\r\nContent-Length: 0\r\nConnection: close\r\n\r\n");
                    socket->disconnectFromHost();
                });
            }
        });
        return m_server.listen(QHostAddress::LocalHost, 0);
    }

    QString url(const QString &path) const
    {
        return QStringLiteral("http://127.0.0.1:%1%2").arg(m_server.serverPort()).arg(path);
    }

    // Loads url("/control") as an Image in `engine` under `parent`, and waits until the
    // request has arrived.
    bool control(QQmlEngine *engine, QQuickItem *parent)
    {
        QQmlComponent component(engine);
        component.setData(
            QStringLiteral("import QtQuick\nImage { visible: false; source: \"%1\" }").arg(url("/control")).toUtf8(),
            QUrl());
        auto *image = qobject_cast<QQuickItem *>(component.create());
        if (!image)
            return false;
        image->setParentItem(parent);
        const bool arrived = QTest::qWaitFor([this] { return paths.contains(QStringLiteral("/control")); }, 10000);
        delete image;
        return arrived;
    }

private:
    QTcpServer m_server;
};
