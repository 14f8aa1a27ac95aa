"use strict";

/**
 * The connection to the client on this computer. States: "off" (no client answers; it is looked for again and again),
 * "waiting" (it logs in), "ready", "switching" (it signs another user out), "refused" (it could not log in).
 * Requests made before it is ready are kept and sent then.
 */
class Bridge {
  /**
   * @param makeLogin async function: {username, token, center} with a fresh token
   * @param onState function(state, status)
   * @param askSwitch async function: whether another user may be signed out of the client
   */
  constructor(port, makeLogin, onState, askSwitch) {
    this.address = `ws://127.0.0.1:${port}`;
    this.makeLogin = makeLogin;
    this.onState = onState;
    this.askSwitch = askSwitch;
    this.kept = [];
    this.state = "off";
    this.stopped = false;
    this.connect();
  }

  setState(state, status = 200) {
    this.state = state;
    this.onState(state, status);
  }

  connect() {
    if (this.stopped) return;
    const socket = new WebSocket(this.address);
    this.socket = socket;
    socket.onopen = () => this.login();
    socket.onmessage = event => this.take(event.data);
    socket.onclose = () => {
      if (this.socket !== socket || this.stopped) return;
      this.setState(this.state === "switching" ? "switching" : "off");
      this.timer = setTimeout(() => this.connect(), 1000);
    };
  }

  stop() {
    this.stopped = true;
    clearTimeout(this.timer);
    this.kept = [];
    this.socket.close();
  }

  async login() {
    const socket = this.socket;
    try {
      const login = await this.makeLogin();
      if (socket.readyState === WebSocket.OPEN)
        socket.send(JSON.stringify({ action: "login", ...login }));
    } catch (error) {
      this.setState("refused", error.status || 0);
    }
  }

  async take(text) {
    let message = {};
    try {
      message = JSON.parse(text);
    } catch {
      return;
    }
    if (message.action === "SendOK") {
      if (this.state === "waiting") this.ready();
    } else if (message.action === "login") {
      if (message.wait === 2) {
        this.setState("switching");
        if (await this.askSwitch()) {
          // The client closes this connection, comes back with nobody logged in, and is then logged in by us.
          this.socket.send(JSON.stringify({ action: "logout" }));
        } else {
          this.kept = [];
          this.setState("refused", 200);
        }
      } else if (message.status !== 200) {
        this.kept = [];
        this.setState("refused", message.status);
      } else if (message.wait === 1) {
        this.setState("waiting");
      } else {
        this.ready();
      }
    }
  }

  ready() {
    this.setState("ready");
    for (const request of this.kept.splice(0))
      this.socket.send(JSON.stringify(request));
  }

  /** Sends the request now or as soon as the client can take it; true when it was sent now. */
  request(request) {
    if (this.state === "ready") {
      this.socket.send(JSON.stringify(request));
      return true;
    }
    this.kept = [request];
    if (this.state === "refused" && this.socket.readyState === WebSocket.OPEN) this.login();
    return false;
  }
}
