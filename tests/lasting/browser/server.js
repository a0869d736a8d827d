// The real media server with pages to look at, and its commands.
import { spawn } from 'node:child_process';
import { cpSync, mkdirSync, mkdtempSync, rmSync, writeFileSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { join } from 'node:path';

export class Server {
  static async start(build, gallery) {
    const server = new Server();
    server.folder = mkdtempSync(join(tmpdir(), 'tavola-browser-'));
    const content = join(server.folder, 'content');
    mkdirSync(content);
    for (const name of ['basalt.png', 'terraces.png', 'paper-moons.png']) cpSync(join(gallery, 'media', name), join(content, name));
    writeFileSync(join(content, 'guide.pdf'), '%PDF-1.4\n%%EOF\n');
    writeFileSync(join(server.folder, 'logo.svg'),
      '<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 40 40"><circle cx="20" cy="20" r="18" fill="#2a6a7a"/></svg>');
    writeFileSync(join(server.folder, 'site.json'), JSON.stringify({
      page: {
        museum: 'The Small Museum', logo: 'logo.svg', accent: '#1f5f70', accentDark: '#8fd0e0', keepDays: 30,
        greeting: { en: 'Thank you for your visit', de: 'Danke für Ihren Besuch', fi: 'Kiitos käynnistä', fr: 'Merci de votre visite' },
        imprint: 'https://museum.example/imprint', privacy: 'https://museum.example/privacy',
      },
    }));
    server.process = spawn(join(build, 'bin', 'tavola-mediaserver'), ['--pages', '127.0.0.1:0', '--commands', '127.0.0.1:0',
      '--content', content, '--database', join(server.folder, 'pages.sqlite'), '--site', join(server.folder, 'site.json')],
      { stdio: ['ignore', 'pipe', 'inherit'] });
    let text = '';
    await new Promise((resolve, reject) => {
      server.process.on('exit', (code) => reject(new Error(`the media server ended with ${code}`)));
      server.process.stdout.on('data', (data) => {
        text += data;
        const found = /commands on (\S+)\n.*pages on (\S+)\n/s.exec(text);
        if (found) { [, server.commands, server.pages] = found; resolve(); }
      });
    });
    return server;
  }

  async command(command) {
    const answer = await fetch(this.commands, { method: 'POST', body: JSON.stringify(command) });
    return answer.json();
  }

  async page(tessel) {
    return (await this.command({ command: 'getuserpage', tessel })).userpageurl;
  }

  async add(tessel, item) {
    const answer = await this.command({ command: 'additem', tessel, ...item });
    if (!answer.success) throw new Error(JSON.stringify(answer));
  }

  async fill(tessel) {
    await this.add(tessel, { filename: 'basalt.png', displayname: 'Basalt' });
    await this.add(tessel, { filename: 'terraces.png', displayname: 'Terraces' });
    await this.add(tessel, { filename: 'guide.pdf', displayname: 'The guide' });
    await this.add(tessel, { url: 'https://museum.example/visit', displayname: 'Opening hours and tickets' });
    await this.add(tessel, { filename: 'coming.png', displayname: 'On its way', sha256: 'a'.repeat(64), size: 9 });
    return this.page(tessel);
  }

  stop() {
    this.process.removeAllListeners('exit');
    this.process.kill();
    rmSync(this.folder, { recursive: true });
  }
}
