// SPDX-License-Identifier: MIT
// tallywick-bridge driven by the official Model Context Protocol SDK: the
// SDK checks every message, and every tool result against the output
// schema the host declared.
import { after, before, test } from 'node:test';
import assert from 'node:assert/strict';

import { Client } from '@modelcontextprotocol/sdk/client/index.js';
import { StdioClientTransport } from '@modelcontextprotocol/sdk/client/stdio.js';
import { ResourceUpdatedNotificationSchema } from '@modelcontextprotocol/sdk/types.js';

import { Host, programs } from './bridgeClients.mjs';

const host = new Host('sdk');
const clients = [];

before(() => host.start());
after(async () => {
  for (const client of clients) await client.close();
  await host.remove();
});

async function connect(name, command = programs.bridge) {
  const transport = new StdioClientTransport({
    command,
    args: ['--runtime-dir', host.runtimeDir],
    env: host.bridgeEnv,
    stderr: 'pipe',
  });
  const client = new Client({ name, version: '1.0.0' });
  client.bridgeLog = '';
  transport.stderr.on('data', (text) => { client.bridgeLog += text; });
  clients.push(client);  // closed at the end even when the handshake fails
  await client.connect(transport);
  return client;
}

// The tool's answer as the SDK gave it, once it has checked it against the schema.
async function call(client, name, args = {}) {
  const result = await client.callTool({ name, arguments: args });
  assert.deepEqual(JSON.parse(result.content[0].text), result.structuredContent,
                   'the text content repeats the structured content');
  return result;
}

const key = 'a secret of ours';
let agent;
let account;

test('handshake and tools', async () => {
  agent = await connect('sdk-agent');
  assert.equal(agent.getServerVersion().name, 'tallywick-host');
  const capabilities = agent.getServerCapabilities();
  assert.ok(capabilities.tools && capabilities.logging);
  assert.equal(capabilities.resources.subscribe, true);

  const { tools } = await agent.listTools();
  assert.deepEqual(tools.map((tool) => tool.name).sort(), ['getBalance', 'getHistory', 'login', 'signUp']);
  for (const tool of tools) assert.equal(tool.outputSchema?.type, 'object', `${tool.name} declares its output`);
  await agent.ping();
});

test('sign up, then log in from another session with a wrong and the right key', async () => {
  const signedUp = await call(agent, 'signUp', { key, displayName: 'SDK agent' });
  assert.equal(signedUp.isError, false);
  account = signedUp.structuredContent;
  assert.equal(account.displayName, 'SDK agent');
  assert.equal(typeof account.balance, 'number');

  const other = await connect('sdk-second-session');
  const refused = await call(other, 'login', { accountId: account.accountId, key: 'not the key at all' });
  assert.equal(refused.isError, true);
  assert.equal(typeof refused.structuredContent.error.message, 'string');

  const loggedIn = await call(other, 'login', { accountId: account.accountId, key });
  assert.equal(loggedIn.isError, false);
  assert.deepEqual(loggedIn.structuredContent, account);
  assert.deepEqual((await call(other, 'getBalance')).structuredContent, account);
});

test('history and a subscription told of an entry added at the desk', async () => {
  const opening = (await call(agent, 'getHistory', { limit: 5 })).structuredContent;
  assert.equal(opening.accountId, account.accountId);
  assert.equal(opening.balance, account.balance);

  const uri = `tallywick://account/${account.accountId}/history`;
  const updated = new Promise((resolve) => {
    agent.setNotificationHandler(ResourceUpdatedNotificationSchema, (notification) => resolve(notification));
  });
  await agent.subscribeResource({ uri });
  await host.addEntry(account.accountId, 25, 'From the desk');
  const notification = await Promise.race([
    updated,
    new Promise((_, reject) => setTimeout(() => reject(new Error('no notification within 10 s')), 10000).unref()),
  ]);
  assert.equal(notification.params.uri, uri);

  const history = (await call(agent, 'getHistory', { limit: 5 })).structuredContent;
  assert.equal(history.balance, account.balance + 25);
  assert.equal(history.entries.length, opening.entries.length + 1);
  assert.equal(history.entries[0].memo, 'From the desk');
  assert.equal(history.entries[0].signedAmount, 25);
  account.balance += 25;
});
