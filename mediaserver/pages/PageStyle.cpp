#include "PageStyle.hpp"

namespace MediaServer
{

const char* const kPageStyle = R"css(
:root {
  color-scheme: light dark;
  --paper: #f5f1e8; --raised: #fffdf8; --mat: #ebe5d8; --line: #d9d1c0;
  --ink: #24211b; --soft: #665f52; --accent: #8f3a1c; --shadow: 60 45 20;
  --serif: "Iowan Old Style", "Palatino Linotype", Palatino, "URW Palladio L", "P052", Georgia, serif;
  --sans: system-ui, -apple-system, "Segoe UI", Roboto, "Noto Sans", "DejaVu Sans", sans-serif;
}
@media (prefers-color-scheme: dark) {
  :root {
    --paper: #171511; --raised: #211e19; --mat: #12100d; --line: #39342b;
    --ink: #f1ebde; --soft: #b3aa98; --accent: #f0a27f; --shadow: 0 0 0;
  }
}
*, *::before, *::after { box-sizing: border-box; }
html { -webkit-text-size-adjust: 100%; text-size-adjust: 100%; }
body {
  margin: 0; min-height: 100vh; display: flex; flex-direction: column;
  background: var(--paper); color: var(--ink);
  font: 1.0625rem/1.55 var(--sans); overflow-wrap: anywhere;
}
header, main, footer { width: 100%; max-width: 72rem; margin: 0 auto; padding: 0 clamp(1.25rem, 5vw, 3rem); }
header { padding-top: clamp(2.5rem, 8vw, 5rem); }
main { flex: 1; padding-bottom: 4rem; }
.logo { display: block; max-width: 12rem; max-height: 5rem; margin: 0 0 1.5rem; }
.eyebrow {
  margin: 0 0 .75rem; display: flex; align-items: center; gap: .75rem;
  color: var(--accent); font-size: .8125rem; font-weight: 600; letter-spacing: .14em; text-transform: uppercase;
}
.eyebrow::before { content: ""; width: 2.5rem; height: 2px; background: currentColor; }
h1 { margin: 0; font: 400 clamp(2.25rem, 6vw, 3.75rem)/1.1 var(--serif); letter-spacing: -.015em; text-wrap: balance; }
.lead { margin: 1rem 0 0; max-width: 38rem; color: var(--soft); font-size: 1.125rem; }
.items {
  list-style: none; margin: clamp(2rem, 5vw, 3.5rem) 0 0; padding: 0;
  display: grid; gap: clamp(1.25rem, 3vw, 2rem);
  grid-template-columns: repeat(auto-fill, minmax(min(100%, 17.5rem), 1fr));
}
.item {
  position: relative; display: flex; flex-direction: column; overflow: hidden;
  background: var(--raised); border: 1px solid var(--line); border-radius: .875rem;
  box-shadow: 0 1px 2px rgb(var(--shadow) / .06), 0 10px 30px -18px rgb(var(--shadow) / .35);
}
.view {
  position: relative; aspect-ratio: 4 / 3; flex: none; display: grid; place-items: center; background: var(--mat);
  border-bottom: 1px solid var(--line); color: var(--soft);
}
.view img {
  position: absolute; inset: 0; width: 100%; height: 100%; padding: 1.125rem; object-fit: contain;
  filter: drop-shadow(0 3px 8px rgb(var(--shadow) / .28));
}
.view svg { width: 3.5rem; height: 3.5rem; color: var(--accent); }
.text { padding: 1.125rem 1.25rem 1.25rem; display: flex; flex-direction: column; gap: .3rem; flex: 1; }
.text h2 { margin: 0; font: 400 1.3125rem/1.3 var(--serif); }
.text p { margin: 0; color: var(--soft); font-size: .9375rem; }
.item h2 a { color: inherit; text-decoration: none; }
.item h2 a::after { content: ""; position: absolute; inset: 0; border-radius: inherit; }
.item h2 a:hover, .item h2 a:focus-visible { text-decoration: underline; text-decoration-thickness: 1px; text-underline-offset: .2em; }
.item h2 a:focus-visible { outline: none; }
.item:has(h2 a:focus-visible) { outline: 3px solid var(--accent); outline-offset: 3px; }
.missing .view, .coming .view { background: repeating-linear-gradient(135deg, var(--mat) 0 12px, var(--raised) 12px 24px); }
.empty {
  margin: clamp(2rem, 5vw, 3.5rem) 0 0; padding: clamp(2rem, 6vw, 4rem) 1.5rem; text-align: center;
  border: 2px dashed var(--line); border-radius: .875rem;
}
.empty h2 { margin: 0 0 .5rem; font: 400 1.625rem/1.25 var(--serif); }
.empty p { margin: 0 auto; max-width: 32rem; color: var(--soft); }
.acts { display: flex; flex-wrap: wrap; align-items: center; gap: .25rem 1.25rem; }
.acts a { display: inline-block; padding: .5rem 0; color: var(--accent); text-underline-offset: .2em; font-size: .9375rem; }
.acts [aria-current] { color: var(--ink); text-decoration: none; font-weight: 600; }
.item .acts { position: relative; z-index: 1; width: fit-content; margin-top: auto; padding-top: .35rem; }
.all { margin: 2rem 0 0; }
:focus-visible { outline: 3px solid var(--accent); outline-offset: 3px; border-radius: .25rem; }
.unseen { position: absolute; width: 1px; height: 1px; overflow: hidden; clip-path: inset(50%); white-space: nowrap; }
form { margin: 2rem 0 0; }
button {
  padding: .75rem 1.5rem; border: 0; border-radius: .5rem; background: var(--accent); color: var(--paper);
  font: 600 1rem/1.4 var(--sans); cursor: pointer;
}
footer { padding-bottom: 3rem; }
footer section + section { margin-top: 2rem; max-width: 44rem; }
footer h2 { margin: 0 0 .35rem; font: 400 1.3125rem/1.3 var(--serif); }
footer p { margin: 0 0 .5rem; color: var(--soft); font-size: .9375rem; }
nav { margin-top: 1.5rem; padding-top: 1rem; border-top: 1px solid var(--line); }
.share { padding-top: 2rem; border-top: 1px solid var(--line); display: flex; flex-wrap: wrap; align-items: center; gap: 1.25rem 1.75rem; margin: 0; }
.share img { display: block; width: 9rem; height: 9rem; border-radius: .625rem; background: #fff; }
.share div { flex: 1 1 16rem; max-width: 34rem; }
@media (max-width: 40rem) {
  .plain { flex-direction: row; }
  .plain .view { width: 6.5rem; aspect-ratio: auto; min-height: 6.5rem; border-bottom: 0; border-right: 1px solid var(--line); }
  .plain .view svg { width: 2.5rem; height: 2.5rem; }
  .plain .text { justify-content: center; min-width: 0; }
}
@media (prefers-reduced-motion: no-preference) {
  .item { transition: transform .18s ease, box-shadow .18s ease; }
  .item:has(a):hover { transform: translateY(-3px); box-shadow: 0 2px 4px rgb(var(--shadow) / .08), 0 22px 40px -20px rgb(var(--shadow) / .45); }
}
@media (forced-colors: active) { .item:has(h2 a:focus-visible) { outline-color: Highlight; } }
@media print {
  body { background: none; }
  .acts { display: none; }
  .item { break-inside: avoid; box-shadow: none; }
}
)css";

}
