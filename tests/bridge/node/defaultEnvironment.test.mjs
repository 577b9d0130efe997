// SPDX-License-Identifier: MIT
// An agent set up as a new user sets it up: the host started for a login
// session (only XDG_RUNTIME_DIR pointing at the private /run/user/UID), and
// an MCP client that launches the bridge with the official SDK's default
// environment (HOME, LOGNAME, PATH, SHELL, TERM, USER and nothing else),
// configured by the very block the README shows. Run inside a mount
// namespace whose /run/user is a fresh tmpfs (inSessionNamespace.sh).
import { after, before, test } from 'node:test';
import assert from 'node:assert/strict';
import { execFile, spawn } from 'node:child_process';
import { chmodSync, existsSync, mkdirSync, mkdtempSync, readFileSync, rmSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { basename, join } from 'node:path';
import { promisify } from 'node:util';

import { Client } from '@modelcontextprotocol/sdk/client/index.js';
import { StdioClientTransport, getDefaultEnvironment } from '@modelcontextprotocol/sdk/client/stdio.js';
import { ResourceUpdatedNotificationSchema } from '@modelcontextprotocol/sdk/types.js';

import { programs, waitUntil } from './bridgeClients.mjs';

const run = promisify(execFile);
const uid = process.getuid();
const session = `/run/user/${uid}`;
const home = mkdtempSync(join(process.env.TALLYWICK_TEST_SCRATCH ?? tmpdir(), 'home-'));
const clients = [];
let host;
let hostLog = '';

// The README's "Connect an agent" block, exactly as a user would paste it.
function readmeServers() {
  const readme = readFileSync(process.env.TALLYWICK_README, 'utf8');
  const section = readme.slice(readme.indexOf('## Connect an agent'));
  const block = section.match(/```json\n([\s\S]*?)```/);
  assert.ok(block, 'the README section has a JSON block');
  return JSON.parse(block[1]).mcpServers;
}

// The first JSON object a text prints, and what stands around it.
function jsonBlockOf(text) {
  const start = text.indexOf('{\n');
  const end = text.indexOf('\n}\n', start);
  return JSON.parse(text.slice(start, end + 2));
}

before(async () => {
  assert.ok(!existsSync(session), 'the namespace gives a fresh /run/user');
  mkdirSync(session, { mode: 0o700 });
  chmodSync(session, 0o700);
  // Nothing of ours may leak into what the SDK passes on, nor may a host
  // started on demand find the user's real home.
  for (const name of Object.keys(process.env)) {
    if (name.startsWith('XDG_') || (name.startsWith('TALLYWICK_') && name !== 'TALLYWICK_README' &&
                                    !['TALLYWICK_BRIDGE', 'TALLYWICK_HOST', 'TALLYWICK_CTL'].includes(name))) {
      delete process.env[name];
    }
  }
  process.env.HOME = home;

  host = spawn(programs.host, [], {
    env: { XDG_RUNTIME_DIR: session, HOME: home, PATH: process.env.PATH },
    stdio: ['ignore', 'ignore', 'pipe'],
  });
  host.stderr.setEncoding('utf8');
  host.stderr.on('data', (text) => { hostLog += text; });
  await waitUntil('the host to serve', () => hostLog.includes(': serving '), 20);
  assert.match(hostLog, new RegExp(`on ${session}/tallywick/`));
});

after(async () => {
  for (const client of clients) await client.close();
  if (host && host.exitCode === null) {
    const exited = new Promise((resolve) => host.once('exit', resolve));
    host.kill('SIGTERM');
    await exited;
  }
  rmSync(home, { recursive: true, force: true });
});

test('the README block, pasted as it is, signs up, reads and subscribes', async () => {
  const servers = readmeServers();
  assert.deepEqual(Object.keys(servers), ['tallywick']);
  const server = servers.tallywick;
  assert.equal(server.env, undefined, 'no environment needed');
  assert.equal(basename(server.command), 'tallywick-bridge');
  // Only where the bridge is installed differs from the README's /usr/bin.
  const transport = new StdioClientTransport({ command: programs.bridge, args: server.args, env: server.env,
                                               stderr: 'pipe' });
  let bridgeLog = '';
  transport.stderr.on('data', (text) => { bridgeLog += text; });
  const agent = new Client({ name: 'fresh-install', version: '1.0.0' });
  clients.push(agent);
  await agent.connect(transport);

  const signedUp = await agent.callTool({ name: 'signUp', arguments: { key: 'first day key', displayName: 'New' } });
  assert.equal(signedUp.isError, false, bridgeLog);
  const { accountId, balance } = signedUp.structuredContent;
  const read = await agent.callTool({ name: 'getBalance', arguments: {} });
  assert.deepEqual(read.structuredContent, { accountId, displayName: 'New', balance });

  const uri = `tallywick://account/${accountId}/history`;
  const updated = new Promise((resolve) => {
    agent.setNotificationHandler(ResourceUpdatedNotificationSchema, (notification) => resolve(notification));
  });
  await agent.subscribeResource({ uri });
  // The desk's side, from the session's own environment.
  await run(programs.ctl, ['entry', 'add', accountId, 'credit', '5', '--memo', 'Welcome'],
            { env: { XDG_RUNTIME_DIR: session, HOME: home, PATH: process.env.PATH } });
  const notification = await Promise.race([
    updated,
    new Promise((_, reject) => setTimeout(() => reject(new Error('no notification within 10 s')), 10000).unref()),
  ]);
  assert.equal(notification.params.uri, uri);
  const history = await agent.callTool({ name: 'getHistory', arguments: { limit: 5 } });
  assert.equal(history.structuredContent.balance, balance + 5);
  assert.equal(history.structuredContent.entries[0].memo, 'Welcome');
  assert.doesNotMatch(bridgeLog, /not running|no connection|started/, "the session host served it");
});

test('the bridge and tallywickctl print the same block with the bridge path', async () => {
  const expected = { mcpServers: { tallywick: { ...readmeServers().tallywick, command: programs.bridge } } };
  const { stdout: help } = await run(programs.bridge, ['--help'], { env: getDefaultEnvironment() });
  assert.deepEqual(jsonBlockOf(help), expected);
  assert.match(help, new RegExp(`Runtime folder \\(the host's socket\\): ${session}/tallywick\\n`));
  assert.match(help, /mcp add tallywick -- \//);
  const { stdout: config } = await run(programs.ctl, ['agent-config', '--json'], { env: getDefaultEnvironment() });
  assert.deepEqual(JSON.parse(config), expected);
});
