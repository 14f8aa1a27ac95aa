"use strict";

const base = new URL(".", location.href).pathname.replace(/\/$/, "");
const port = Number(new URLSearchParams(location.search).get("port") || sessionStorage.getItem("port") || 9998);
const mostRows = 2000;
const element = id => document.getElementById(id);

let session = null;
let centers = [];
let center = "";
let path = "/";
let items = [];
let bridge = null;
let listings = 0;

const sessionOver = "Your session has ended. Please sign in again.";

class Refused extends Error {
  constructor(status) {
    super(`refused with ${status}`);
    this.status = status;
  }
}

async function ask(method, place, query = "", body = undefined, again = true) {
  const text = body === undefined ? "" : JSON.stringify(body);
  const whole = base + place;
  const headers = session ? signed(session, method, whole, query, text) : {};
  if (body !== undefined) headers["Content-Type"] = "application/json";
  const answer = await fetch(whole + (query ? "?" + query : ""), {
    method, headers, body: body === undefined ? undefined : text, cache: "no-store",
  });
  const told = await answer.json().catch(() => ({}));
  if (answer.status === 401 && told.error === "time" && again) {
    clockAhead = Number(answer.headers.get("Arkvale-Time")) - Date.now();
    return ask(method, place, query, body, false);
  }
  if (!answer.ok) {
    if (session && answer.status === 401) signedOut(sessionOver);
    throw new Refused(answer.status);
  }
  return told;
}

function show(id) {
  for (const page of ["sign-in", "drive"]) element(page).hidden = page !== id;
  const inside = id === "drive";
  for (const part of ["user", "sign-out", "client"]) element(part).hidden = !inside;
}

function keep() {
  const state = session ? JSON.stringify({ session, center, path }) : "";
  sessionStorage.setItem("state", state);
  sessionStorage.setItem("port", String(port));
}

// Sign in and out

/** Shows the reason at the sign-in; English, "" for none. */
function complain(text) {
  element("sign-in-error").dataset.tr = text;
  element("sign-in-error").textContent = tr(text);
}

async function signIn(event) {
  event.preventDefault();
  complain("");
  const name = element("name").value.trim();
  try {
    const answer = await ask("POST", "/auth/login", "", { username: name, password: element("password").value, version: "web" });
    if (answer.violation) throw new Refused(403);
    session = { user: answer.username, id: answer.access_id, token: answer.access_token };
    element("password").value = "";
    await enter();
  } catch (error) {
    session = null;
    const texts = { 401: "Wrong user name or password.", 403: "This account may not be used.", 429: "Too many attempts. Please wait." };
    complain(texts[error.status] || "The service cannot be reached.");
  }
}

async function enter() {
  element("user").textContent = session.user;
  show("drive");
  await findCenters();
  keep();
  startBridge();
  await list(path);
}

async function findCenters() {
  const all = (await ask("GET", "/subcenters")).subCenters || [];
  const name = encodeURIComponent(session.user);
  const found = await Promise.all(all.map(one => ask("GET", `/sc/${encodeURIComponent(one.id)}/users/${name}/path`)
    .then(() => one, error => {
      if (error.status === 404 || error.status === 503) return null;
      throw error;
    })));
  centers = found.filter(Boolean);
  if (!centers.some(one => one.id === center)) {
    center = centers.length ? centers[0].id : "";
    path = "/";
  }
  element("center").replaceChildren(...centers.map(one => new Option(one.name, one.id, false, one.id === center)));
}

function signedOut(text) {
  if (bridge) bridge.stop();
  bridge = null;
  session = null;
  center = "";
  path = "/";
  items = [];
  element("list").replaceChildren();
  notice("");
  keep();
  show("sign-in");
  complain(text);
}

async function signOut() {
  const ended = ask("POST", "/auth/logout", "", {}).catch(() => {});
  await ended;
  signedOut("");
}

// The list

function sizeText(bytes) {
  const units = ["B", "K", "M", "G", "T", "P"];
  let unit = 0;
  while (bytes > 1024 && unit < units.length - 1) {
    bytes /= 1024;
    ++unit;
  }
  return `${Number(bytes.toFixed(2))}${units[unit]}`;
}

function row(item) {
  const line = document.createElement("tr");
  const pick = document.createElement("input");
  pick.type = "checkbox";
  pick.className = "one";
  pick.setAttribute("aria-label", item.name);
  pick.item = item;
  const name = document.createElement("td");
  if (item.type === 1) {
    name.className = "folder";
    const open = document.createElement("button");
    open.textContent = item.name;
    open.onclick = () => list(path + item.name + "/");
    name.append(open);
  } else {
    name.textContent = item.name;
  }
  const cells = [document.createElement("td"), name, document.createElement("td"), document.createElement("td")];
  cells[0].append(pick);
  cells[2].textContent = item.modifiedTime ? new Date(item.modifiedTime).toLocaleString(language) : "";
  cells[3].textContent = item.type === 1 ? "" : sizeText(item.size || 0);
  cells[3].className = "size";
  line.append(...cells);
  return line;
}

function showPath() {
  const parts = path.split("/").filter(Boolean);
  const buttons = [tr("Home"), ...parts].map((text, i) => {
    const button = document.createElement("button");
    button.textContent = text;
    button.onclick = () => list("/" + parts.slice(0, i).map(part => part + "/").join(""));
    return button;
  });
  element("path").replaceChildren(...buttons.flatMap((button, i) => i ? ["›", button] : [button]));
}

function showItems() {
  element("list").replaceChildren(...items.slice(0, mostRows).map(row));
  element("more").textContent = items.length > mostRows ? tr("and %1 more", items.length - mostRows) : "";
  element("all").checked = false;
  showPath();
  picked();
}

async function list(folder) {
  if (!center) {
    notice("You have no folder in any sub-center.");
    return;
  }
  const number = ++listings;
  try {
    const told = await ask("GET", `/sc/${encodeURIComponent(center)}/files/list`, `path=${encodeURIComponent(folder)}&mode=2`);
    if (number !== listings) return;
    const order = new Intl.Collator(language, { numeric: true });
    path = folder;
    items = (told.items || []).sort((a, b) => (b.type || 0) - (a.type || 0) || order.compare(a.name, b.name));
    showItems();
    keep();
  } catch (error) {
    if (number === listings && session)
      notice(error.status === 404 ? "This folder is gone." : "The folder cannot be listed now.");
    if (error.status === 404 && folder !== "/") list("/");
  }
}

const selection = () => Array.from(document.querySelectorAll(".one:checked"), box => box.item);

function picked() {
  element("download").disabled = selection().length === 0;
}

// The client

const clientTexts = {
  off: "Client not running",
  waiting: "Client is starting…",
  ready: "Client connected",
  switching: "Client switches users…",
  refused: "Client not connected",
};

function showClient(state, status) {
  const badge = element("client");
  badge.dataset.state = state;
  badge.dataset.status = status;
  badge.textContent = tr(clientTexts[state]) + (state === "refused" && status !== 200 ? ` (${status})` : "");
  if (state === "ready" && element("notice").dataset.waits) notice("Look at the client: it asks for the folder.");
}

/** Says something above the list, in English. */
function notice(text, waits = "") {
  element("notice").dataset.tr = text;
  element("notice").textContent = tr(text);
  element("notice").dataset.waits = waits;
}

function startBridge() {
  if (bridge) return;
  bridge = new Bridge(port, async () => {
    const answer = await ask("POST", "/auth/web-token", "", {});
    return { username: session.user, token: answer.token, center };
  }, showClient, () => new Promise(done => {
    const dialog = element("switch");
    const close = answer => {
      dialog.close();
      done(answer);
    };
    element("switch-yes").onclick = () => close(true);
    element("switch-no").onclick = () => close(false);
    dialog.oncancel = () => done(false);
    if (!dialog.open) dialog.showModal();
  }));
}

function request(message) {
  if (bridge.request(message)) {
    notice("Look at the client: it asks for the folder.");
    return;
  }
  notice("The client is being started…", "yes");
  // The system starts the client, which then logs in through the connection that is tried again and again.
  if (bridge.state === "off") location.href = "zparkvale://start";
}

const upload = () => request({ action: "upload", dest: path, center });

function download() {
  const names = selection().map(item => ({ name: item.name, type: item.type === 1 ? "folder" : "file" }));
  if (names.length) request({ action: "download", center, src: [{ path, names }] });
}

// Start

element("sign-in-form").onsubmit = signIn;
element("sign-out").onclick = signOut;
element("upload").onclick = upload;
element("download").onclick = download;
element("list").onchange = picked;
element("all").onchange = event => {
  for (const box of document.querySelectorAll(".one")) box.checked = event.target.checked;
  picked();
};
element("language").value = language;
element("language").onchange = event => {
  const picks = new Set(selection());
  chooseLanguage(event.target.value);
  if (!session) return;
  showItems();
  for (const box of document.querySelectorAll(".one")) box.checked = picks.has(box.item);
  picked();
  const badge = element("client");
  if (badge.dataset.status) showClient(badge.dataset.state, Number(badge.dataset.status));
};
element("center").onchange = event => {
  center = event.target.value;
  list("/");
};

translatePage();
const before = sessionStorage.getItem("state");
if (before) {
  ({ session, center, path } = JSON.parse(before));
  enter().catch(error => signedOut(error.status === 401 ? sessionOver : ""));
} else {
  show("sign-in");
}
