// Answers requests for cookies that come through the host program. Nothing but that program and our own popup
// can talk to this script: there is no content script, and no listener for pages or other extensions.
"use strict";

if (typeof importScripts === "function") importScripts("cookies.js");

const HOST = "reelhaul.browser_host";
const RETRY_MINUTES = 0.5;
const LONGEST_LOG = 50;

let port = null;
let linkFault = "";
const pending = new Map(); // requests that the user has not decided on, by id

const settings = (async () => {
  const stored = await api.storage.local.get({ on: true, always: [], log: [], profile: "" });
  if (!stored.profile) {
    stored.profile = "profile-" + crypto.randomUUID().slice(0, 4);
    await api.storage.local.set(stored);
  }
  return stored;
})();

async function change(values) {
  Object.assign(await settings, values);
  await api.storage.local.set(values);
}

async function browserWord() {
  if (api.runtime.getBrowserInfo) return "firefox";
  if (navigator.brave) return "brave";
  const brands = (navigator.userAgentData?.brands ?? []).map((entry) => entry.brand).join();
  const words = { Edge: "edge", Opera: "opera", Vivaldi: "vivaldi", "Google Chrome": "chrome" };
  for (const [brand, word] of Object.entries(words)) if (brands.includes(brand)) return word;
  return "chromium";
}

async function mayRead(sites) {
  try {
    return await api.permissions.contains({
      origins: sites.map((site) => (site === ALL_SITES ? "*://*/*" : `*://${site}/*`)),
    });
  } catch {
    return true; // no pattern can be made of it, such as an address of numbers: the cookies decide
  }
}

async function greet() {
  const { on, profile } = await settings;
  const permission = ((await api.permissions.getAll()).origins ?? []).length > 0;
  const version = api.runtime.getManifest().version;
  port?.postMessage({ type: "hello", protocol: 1, version, browser: await browserWord(), profile, on, permission });
}

function connect() {
  if (port) return;
  const made = api.runtime.connectNative(HOST);
  port = made;
  made.onMessage.addListener((message) => {
    linkFault = "";
    hear(message).catch((fault) => refuse(message, "fault", String(fault)));
  });
  made.onDisconnect.addListener(() => {
    if (port !== made) return;
    linkFault = (made.error ?? api.runtime.lastError)?.message ?? "The host program has ended.";
    port = null;
    pending.clear();
    showPending();
  });
  greet();
}

function showPending() {
  api.action.setBadgeText({ text: pending.size > 0 ? String(pending.size) : "" });
  api.runtime.sendMessage({ type: "changed" }).catch(() => {}); // no popup is open
}

async function note(request, outcome) {
  const { log } = await settings;
  const { application, program, sites } = request;
  await change({ log: [{ time: Date.now(), application, program, sites, outcome }, ...log].slice(0, LONGEST_LOG) });
  showPending();
}

function refuse(request, reason, text = "") {
  port?.postMessage({ type: "refused", id: request.id, reason, text });
}

/** A message of the host program's. */
async function hear(message) {
  if (message.type === "end") {
    if (pending.delete(message.id)) showPending();
    return;
  }
  if (message.type !== "ask") return;
  const { on, always } = await settings;
  const sites = sitesOf(message.addresses);
  const request = { ...message, sites: sites ?? [], time: Date.now() };
  if (!on) return refuse(request, "off");
  if (!sites) return refuse(request, "fault", "This is no web address.");
  if (!(await mayRead(sites))) {
    refuse(request, "permission");
    return note(request, "no permission");
  }
  if (always.includes(ALL_SITES) || sites.every((site) => always.includes(site))) return give(request, "given: always allowed");
  pending.set(request.id, request);
  showPending();
  port?.postMessage({ type: "waiting", id: request.id });
  api.action.openPopup?.()?.catch(() => {}); // where the browser lets us; the badge shows it in any case
}

async function give(request, outcome) {
  const cookies = await cookiesFor(request.addresses);
  port?.postMessage({ type: "cookies", id: request.id, cookies });
  await note(request, outcome);
}

/** What the user does in the popup. */
async function obey(command) {
  const { always } = await settings;
  const request = pending.get(command.id);
  if (command.type === "decide" && request) {
    pending.delete(command.id);
    if (command.answer === "always") await change({ always: [...new Set([...always, ...request.sites])] });
    if (command.answer === "no") {
      refuse(request, "user");
      await note(request, "refused");
    } else {
      await give(request, command.answer === "always" ? "given: always allowed" : "given once");
    }
  } else if (command.type === "switch") {
    await change({ on: command.on });
    if (!command.on) for (const one of pending.values()) refuse(one, "off");
    if (!command.on) pending.clear();
    await greet();
  } else if (command.type === "forget") {
    await change({ always: always.filter((site) => site !== command.site) });
  } else if (command.type === "rename" && command.profile) {
    await change({ profile: command.profile.slice(0, 40) });
    await greet();
  } else if (command.type === "connect") {
    connect();
  }
  if (!["connect", "state"].includes(command.type)) showPending(); // the popup asks for the state when it hears of a change
  return { ...(await settings), pending: [...pending.values()], linked: Boolean(port), linkFault };
}

api.runtime.onMessage.addListener((command, sender, answer) => {
  if (sender.id !== api.runtime.id || sender.url !== api.runtime.getURL("popup.html")) return false;
  obey(command).then(answer, (fault) => answer({ fault: String(fault) }));
  return true;
});
api.permissions.onAdded.addListener(greet);
api.permissions.onRemoved.addListener(greet);
api.alarms.onAlarm.addListener(connect);
api.runtime.onStartup.addListener(connect);
api.alarms.create("link", { periodInMinutes: RETRY_MINUTES });
connect();
