#pragma once

class AppState;
class StateClient;

namespace StateWiring {

// Every document the client publishes becomes the app state's, starting with the one it
// holds now (that one at once, later ones derived on a worker thread). Both live on the
// main thread; the connection ends with either object.
void connectClient(StateClient *client, AppState *appState);

} // namespace StateWiring
