#include "state/StateWiring.h"

#include "state/AppState.h"
#include "state/StateClient.h"

namespace StateWiring {

void connectClient(StateClient *client, AppState *appState)
{
    QObject::connect(client, &StateClient::stateChanged, appState, &AppState::submitState);
    if (!(client->state() == appState->state()))
        appState->setState(client->state());
}

} // namespace StateWiring
