<?xml version="1.0" encoding="UTF-8"?>
<!-- The report of netreport as a page. -->
<xsl:stylesheet version="1.0" xmlns:xsl="http://www.w3.org/1999/XSL/Transform">
  <xsl:output method="html" encoding="UTF-8" doctype-system="about:legacy-compat"/>

  <xsl:template match="/report">
    <html>
      <head>
        <meta name="viewport" content="width=device-width"/>
        <title><xsl:value-of select="texts/@title"/></title>
        <style>
          body { font: 15px/1.5 system-ui, sans-serif; color: #1d2733; background: #f3f5f8;
                 max-width: 56em; margin: 2.5em auto; padding: 0 1.5em; }
          h1 { font-size: 1.7em; margin: 0; }
          time { color: #64748b; }
          .states { display: flex; flex-wrap: wrap; gap: .6em; margin: 1.4em 0; }
          .state { padding: .25em .9em; border-radius: 1em; background: #ffe0e0; color: #8f1d1d; }
          .state.yes { background: #d9f3e3; color: #14532d; }
          table { width: 100%; border-collapse: collapse; background: #fff; border-radius: .6em;
                  overflow: hidden; box-shadow: 0 1px 3px #0002; }
          th, td { text-align: left; vertical-align: top; padding: .6em 1em; }
          th { background: #e6ebf2; font-weight: 600; }
          tr + tr td { border-top: 1px solid #e6ebf2; }
          .code { font-family: ui-monospace, monospace; font-size: .93em; white-space: nowrap; }
          .mask { color: #64748b; }
          h2 { font-size: 1.1em; margin: 1.8em 0 .4em; }
          ul { margin: 0; padding: 0; list-style: none; display: flex; flex-wrap: wrap; gap: .5em; }
          li { padding: .15em .8em; border-radius: .4em; background: #e6ebf2; }
        </style>
      </head>
      <body>
        <h1><xsl:value-of select="texts/@title"/></h1>
        <time><xsl:value-of select="@time"/></time>
        <div class="states">
          <xsl:for-each select="state">
            <span class="state {@good}"><xsl:value-of select="."/></span>
          </xsl:for-each>
        </div>
        <table>
          <tr>
            <th><xsl:value-of select="texts/@index"/></th>
            <th><xsl:value-of select="texts/@name"/></th>
            <th>MAC</th>
            <th><xsl:value-of select="texts/@address"/></th>
            <th><xsl:value-of select="texts/@gateway"/></th>
          </tr>
          <xsl:apply-templates select="interface"/>
        </table>
        <xsl:if test="host">
          <h2><xsl:value-of select="texts/@recent"/></h2>
          <ul>
            <xsl:for-each select="host">
              <xsl:sort select="position()" data-type="number" order="descending"/>
              <li class="code"><xsl:value-of select="."/></li>
            </xsl:for-each>
          </ul>
        </xsl:if>
      </body>
    </html>
  </xsl:template>

  <xsl:template match="interface">
    <tr>
      <td><xsl:value-of select="@index"/></td>
      <td><b><xsl:value-of select="@name"/></b></td>
      <td class="code"><xsl:value-of select="@mac"/></td>
      <td class="code">
        <xsl:for-each select="address">
          <div><xsl:value-of select="@ip"/><span class="mask"> / <xsl:value-of select="@mask"/></span></div>
        </xsl:for-each>
      </td>
      <td class="code"><xsl:value-of select="@gateway"/></td>
    </tr>
  </xsl:template>
</xsl:stylesheet>
