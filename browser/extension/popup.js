// The popup: who asks, who asked, and the user's decisions. All texts of strangers are set as text, never as markup.
"use strict";

const api = globalThis.browser ?? globalThis.chrome;
const place = (id) => document.getElementById(id);

function element(name, text = "", ...children) {
  const made = document.createElement(name);
  made.textContent = text;
  made.append(...children);
  return made;
}

function button(text, command, main = false) {
  const made = element("button", text);
  made.className = main ? "main" : "";
  made.dataset.does = command.answer ?? command.type;
  made.addEventListener("click", () => tell(command));
  return made;
}

const words = (sites) => (sites.includes("*") ? "all sites" : sites.join(", "));
const who = (one) => `${one.application || "A program"}${one.program ? ` (${one.program})` : ""}`;

function requestBox(request) {
  const decide = (answer) => ({ type: "decide", id: request.id, answer });
  const buttons = element("div", "", button("Allow once", decide("once"), true), button("Always", decide("always")),
                          button("No", decide("no")));
  buttons.className = "buttons";
  const time = new Date(request.time).toLocaleTimeString();
  const box = element("div", "", element("p", `${request.application || "A program"} wants the cookies of ${words(request.sites)}.`),
                      element("small", `${request.program || "an unknown program"}, process ${request.pid}, ${time}`), buttons);
  box.className = "request";
  return box;
}

function show(state) {
  place("on").checked = state.on;
  place("link").textContent = state.linked
    ? "Ready for programs of yours on this computer."
    : `No link to Reelhaul: ${state.linkFault} Run "reelhaul cookies --install-host".`;
  place("link").className = state.linked ? "" : "fault";
  place("pending").replaceChildren(...state.pending.map(requestBox));
  place("always").replaceChildren(...state.always.map((site) =>
    element("li", "", element("span", words([site])), button("Forget", { type: "forget", site }))));
  if (state.always.length === 0) place("always").append(element("small", "No site: you are asked each time."));
  place("log").replaceChildren(...state.log.slice(0, 8).map((one) =>
    element("li", "", element("div", `${words(one.sites)}: ${one.outcome}`),
            element("small", `${new Date(one.time).toLocaleString()}, ${who(one)}`))));
  if (state.log.length === 0) place("log").append(element("small", "Nobody yet."));
  if (document.activeElement !== place("profile")) place("profile").value = state.profile;
}

async function tell(command) {
  const state = await api.runtime.sendMessage(command);
  if (state && !state.fault) show(state);
  const { origins = [] } = await api.permissions.getAll();
  place("permission").hidden = origins.length > 0;
}

place("on").addEventListener("change", (event) => tell({ type: "switch", on: event.target.checked }));
place("profile").addEventListener("change", (event) => tell({ type: "rename", profile: event.target.value.trim() }));
place("grant").addEventListener("click", () => api.permissions.request({ origins: ["*://*/*"] }).then(() => tell({ type: "state" })));
api.runtime.onMessage.addListener((message) => {
  if (message.type === "changed") tell({ type: "state" });
});
tell({ type: "connect" });
