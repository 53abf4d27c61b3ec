#pragma once

#include "alerts/NotificationsPort.h"

// A notification server the test answers by hand: probes and posts wait until the test
// completes them (or are answered at once with `autoAnswer`).
class FakeNotifications : public NotificationsPort
{
public:
    struct Post {
        Banner banner;
        std::function<void(quint32, const QString &)> done;
    };

    void probe(std::function<void(const ServerInfo &)> done) override
    {
        if (autoAnswer)
            done(server);
        else
            pendingProbe = std::move(done);
    }
    void post(const Banner &banner, std::function<void(quint32, const QString &)> done) override
    {
        posts.append(Post { banner, std::move(done) });
        if (autoAnswer)
            answer(posts.size() - 1);
    }

    void answerProbe()
    {
        if (auto done = std::exchange(pendingProbe, {}))
            done(server);
    }
    // Answers post i like a real server: the replaced id, or the next new one.
    quint32 answer(qsizetype i, const QString &error = {})
    {
        Post &p = posts[i];
        const quint32 id = !error.isEmpty() ? 0 : p.banner.replacesId ? p.banner.replacesId : ++lastId;
        p.done(id, error);
        return id;
    }
    const Banner &last() const { return posts.last().banner; }

    ServerInfo server { true, {}, "fake", {}, "1", { "actions", "body" } };
    bool autoAnswer = true;
    std::function<void(const ServerInfo &)> pendingProbe;
    QList<Post> posts;
    quint32 lastId = 0;
};
